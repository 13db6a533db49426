#include "ostrum/foundation/geometry/MMPlane.h"

// Defined here so that the class's virtual table lives in the library.
MMPlane::~MMPlane() = default;
