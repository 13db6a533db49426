#include "ostrum/foundation/core/MUnit.h"

std::int32_t MUnit::GetIE() { return 10000; }
