#include "ostrum/foundation/platform/LastError.h"

#include "ostrum/foundation/platform/private/LastErrorSlot.h"

namespace Ostrum::Desktop::Private {
OSTRUM_STATIC_TLS thread_local DWORD t_last_error = ERROR_SUCCESS;
}

DWORD GetLastError() { return Ostrum::Desktop::Private::t_last_error; }

void SetLastError(DWORD code) { Ostrum::Desktop::Private::t_last_error = code; }
