#include "ostrum/operations/MOperationContext.h"

MOperationContext::~MOperationContext() = default;
