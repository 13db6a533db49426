// Out-of-line anchor of the root of the desktop framework's class tree.

#include "ostrum/foundation/platform/CObject.h"

CObject::~CObject() = default;
