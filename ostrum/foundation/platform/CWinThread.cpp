#include "ostrum/foundation/platform/CWinThread.h"

#include "ostrum/foundation/platform/CWnd.h"
#include "ostrum/foundation/platform/MessageDispatch.h"
#include "ostrum/foundation/platform/MessageQueue.h"
#include "ostrum/foundation/platform/WindowTree.h"

CWinThread::~CWinThread() = default;

BOOL CWinThread::PreTranslateMessage(MSG* msg) {
  if (!msg || !msg->hwnd) return FALSE;
  return CWnd::WalkPreTranslateTree(GetAncestor(msg->hwnd, GA_ROOT), msg);
}

BOOL CWinThread::PumpMessage() {
  MSG msg;
  if (GetMessageW(&msg, nullptr, 0, 0) <= 0) return FALSE;
  if (!AfxPreTranslateMessage(&msg)) {
    TranslateMessage(&msg);
    DispatchMessageW(&msg);
  }
  return TRUE;
}

CWinThread* AfxGetThread() {
  thread_local CWinThread thread;
  return &thread;
}

BOOL AfxPreTranslateMessage(MSG* msg) { return AfxGetThread()->PreTranslateMessage(msg); }
