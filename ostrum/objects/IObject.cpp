#include "ostrum/objects/IObject.h"

IObject::~IObject() = default;
