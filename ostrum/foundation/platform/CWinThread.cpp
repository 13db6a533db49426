#include "ostrum/foundation/platform/CWinThread.h"

CWinThread::~CWinThread() = default;

CWinThread* AfxGetThread() {
  thread_local CWinThread thread;
  return &thread;
}
