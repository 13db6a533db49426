#include "ostrum/foundation/markup/ISAXReference.h"

// Defined here so that the type's run-time information lives in the library, once, and casts
// across the library boundary agree.
ISAXReference::~ISAXReference() = default;
