#include "ostrum/foundation/platform/LastError.h"

namespace {
thread_local DWORD t_last_error = ERROR_SUCCESS;
}

DWORD GetLastError() { return t_last_error; }

void SetLastError(DWORD code) { t_last_error = code; }
