#pragma once
// CWinThread: the framework's record of a user-interface thread and its main window.

#include "ostrum/Export.h"
#include "ostrum/foundation/platform/CObject.h"

class CWnd;

class OSTRUM_API CWinThread : public CCmdTarget {
 public:
  ~CWinThread() override;

  /// The thread's main window, or null. Not owned: the host sets and clears it.
  CWnd* m_pMainWnd = nullptr;
};

/// The record of the calling thread; every thread has its own, made on first use.
OSTRUM_API CWinThread* AfxGetThread();
