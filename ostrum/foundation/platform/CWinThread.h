#pragma once
// CWinThread: the framework's record of a user-interface thread, its main window and the steps
// of its message loop.

#include "ostrum/Export.h"
#include "ostrum/foundation/platform/CCmdTarget.h"
#include "ostrum/foundation/platform/WinMessages.h"

class CWnd;

class OSTRUM_API CWinThread : public CCmdTarget {
 public:
  ~CWinThread() override;

  /// A retrieved message before translation and dispatch: the objects of its window and of the
  /// window's parents up to the top-level window are asked (CWnd::PreTranslateMessage), the
  /// target first. TRUE if one dealt with it; a message without window answers FALSE.
  virtual BOOL PreTranslateMessage(MSG* msg);
  /// One turn of the thread's loop: waits for a message, pre-translates, translates and
  /// dispatches it. FALSE when the message is WM_QUIT.
  virtual BOOL PumpMessage();

  /// The thread's main window, or null. Not owned: the host sets and clears it.
  CWnd* m_pMainWnd = nullptr;
};

/// The record of the calling thread; every thread has its own, made on first use.
OSTRUM_API CWinThread* AfxGetThread();
/// The calling thread's PreTranslateMessage; every loop of the model runs it before
/// TranslateMessage and DispatchMessageW.
OSTRUM_API BOOL AfxPreTranslateMessage(MSG* msg);
