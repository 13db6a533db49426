#include "ostrum/objects/ISAXPersistHelper.h"

#include "ostrum/objects/MSAXPersistHelper.h"
#include "ostrum/objects/UIObject.h"

ISAXPersistHelper::~ISAXPersistHelper() = default;

// The one instance the library holds, with its type information, for hosts and loaders alike.
template class MSAXPersistHelper<UIObject>;
