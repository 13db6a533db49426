#include "ostrum/document/MApplicationController.h"

#include "ostrum/deferred/DeferredTaskManager.h"
#include "ostrum/document/MDocument.h"
#include "ostrum/foundation/frameadapter/MessageProcessor.h"
#include "ostrum/foundation/platform/CWnd.h"

namespace Ostrum {

struct MApplicationController::Implementation {
  MFCA::Private::CmdMessageProcessor<MFCA::CmdMessageHandlerChain> commands{true};
  MFCA::Private::WndMessageProcessor<MFCA::WndMessageHandlerChain> windows;
};

namespace {

// The way back into a window's own handling: the window class's, not an override of the
// interactive window's (which is what fed the chain).
struct WindowBase : MFCA::Private::IWndMessageBaseHandler {
  BOOL OnWndMsg(CWnd& window, UINT message, WPARAM wParam, LPARAM lParam, LRESULT* result) override {
    return window.CWnd::OnWndMsg(message, wParam, lParam, result);
  }
  BOOL OnCommand(CWnd& window, WPARAM wParam, LPARAM lParam) override { return window.CWnd::OnCommand(wParam, lParam); }
  BOOL OnNotify(CWnd& window, WPARAM wParam, LPARAM lParam, LRESULT* result) override {
    return window.CWnd::OnNotify(wParam, lParam, result);
  }
};

}  // namespace

// The way back into a document: its own chain, then its routing.
struct MApplicationController::DocumentRouting : MFCA::Private::ICmdMessageBaseHandler {
  BOOL OnCmdMsg(CCmdTarget& target, UINT id, int code, void* extra, AFX_CMDHANDLERINFO* info) override {
    return static_cast<MDocument&>(target)._OnCmdMsgBase(id, code, extra, info);
  }
};

MApplicationController::MApplicationController() : m_implementation(new Implementation) {
  DeferredTaskManager::StartDeferredTaskManagerSession();
}

MApplicationController::~MApplicationController() {
  DeferredTaskManager::EndDeferredTaskManagerSession();
  Implementation* implementation = m_implementation;
  m_implementation = nullptr;
  delete implementation;
}

MApplicationController* MApplicationController::GetInstance() {
  // Made on first use; the language makes that safe against a second thread.
  struct Instance : MApplicationController {};
  static Instance instance;
  return &instance;
}

MFCA::CmdMessageHandlerChain& MApplicationController::GetCmdMessageHandlerChain() {
  return m_implementation->commands.GetChain();
}
MFCA::WndMessageHandlerChain& MApplicationController::GetWndMessageHandlerChain() {
  return m_implementation->windows.GetChain();
}
MFCA::CmdMessageDispatcher& MApplicationController::GetDefaultCmdMessageDispatcher() {
  return m_implementation->commands.GetDefaultDispatcher();
}
MFCA::WndMessageDispatcher& MApplicationController::GetDefaultWndMessageDispatcher() {
  return m_implementation->windows.GetDefaultDispatcher();
}

int MApplicationController::ProcessCmdMessage(CCmdTarget& target, unsigned id, int code, void* extra,
                                              AFX_CMDHANDLERINFO* info) {
  static MFCA::Private::ICmdMessageBaseHandler* const base = new DocumentRouting;  // kept for the process
  if (!m_implementation) return 0;
  return m_implementation->commands.ProcessCmdMessage(target, id, code, extra, info, *base);
}

int MApplicationController::ProcessWndMessage(CWnd& window, unsigned message, unsigned long long wParam,
                                              long long lParam, long long* result) {
  static MFCA::Private::IWndMessageBaseHandler* const base = new WindowBase;  // kept for the process
  if (!m_implementation) return 0;
  LRESULT answer = result ? static_cast<LRESULT>(*result) : 0;
  const int handled = m_implementation->windows.ProcessWndMessage(window, message, static_cast<WPARAM>(wParam),
                                                                  static_cast<LPARAM>(lParam), &answer, *base);
  if (result) *result = static_cast<long long>(answer);
  return handled;
}

}  // namespace Ostrum
