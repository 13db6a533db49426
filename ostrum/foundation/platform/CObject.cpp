// Out-of-line anchors of the roots of the desktop framework's class tree.

#include "ostrum/foundation/platform/CObject.h"

CObject::~CObject() = default;
CCmdTarget::~CCmdTarget() = default;
