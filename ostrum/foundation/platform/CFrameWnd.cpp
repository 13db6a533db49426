#include "ostrum/foundation/platform/CFrameWnd.h"

CFrameWnd::~CFrameWnd() = default;
