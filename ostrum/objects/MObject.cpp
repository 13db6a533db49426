#include "ostrum/objects/MObject.h"

MObject::~MObject() = default;
