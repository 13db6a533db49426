#pragma once
// The calling thread's last error code, for the model's own hot paths, which set it without a
// call through the library's exported entry.

#include "ostrum/foundation/platform/WinTypes.h"
#include "ostrum/foundation/platform/private/StaticThreadLocal.h"

namespace Ostrum::Desktop::Private {

extern OSTRUM_STATIC_TLS thread_local DWORD t_last_error;

}  // namespace Ostrum::Desktop::Private
