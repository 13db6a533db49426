#include "ostrum/objects/UIObject.h"

UIObject::~UIObject() = default;
