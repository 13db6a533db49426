#pragma once
// Ostrum::MApplicationController: the process's one controller of the application. It owns the
// two chains through which any module hears every command of the documents and every window
// message of the interactive windows without subclassing them, and its life brackets the
// deferred-task session of the thread that made it (the user-interface thread).
//
// A module joins by appending a dispatcher of its own to a chain, or by setting handlers on the
// default dispatcher. What no dispatcher consumes goes on to the document's or the window's
// own handling.

#include "ostrum/Export.h"
#include "ostrum/foundation/frameadapter/MessageHandlerChain.h"

class CCmdTarget;
class CWnd;
struct AFX_CMDHANDLERINFO;

namespace Ostrum {

class OSTRUM_API MApplicationController {
 public:
  /// The instance, made on first use (safely against threads) and destroyed at process exit;
  /// making it starts the calling thread's deferred-task session.
  static MApplicationController* GetInstance();

  MFCA::CmdMessageHandlerChain& GetCmdMessageHandlerChain();
  MFCA::WndMessageHandlerChain& GetWndMessageHandlerChain();
  MFCA::CmdMessageDispatcher& GetDefaultCmdMessageDispatcher();
  MFCA::WndMessageDispatcher& GetDefaultWndMessageDispatcher();

  /// A document's command: the command chain, then the document's own chain and routing.
  /// TRUE if handled; 0 when the controller has no chains (during its destruction).
  int ProcessCmdMessage(CCmdTarget& target, unsigned id, int code, void* extra, AFX_CMDHANDLERINFO* info);
  /// An interactive window's message: the window chain, then the window's own handling.
  int ProcessWndMessage(CWnd& window, unsigned message, unsigned long long wParam, long long lParam,
                        long long* result);

  MApplicationController(const MApplicationController&) = delete;
  MApplicationController& operator=(const MApplicationController&) = delete;

 protected:
  MApplicationController();
  /// Ends the deferred-task session (tasks still waiting are discarded), then the chains go.
  ~MApplicationController();

 private:
  struct Implementation;
  struct DocumentRouting;
  Implementation* m_implementation;
};

}  // namespace Ostrum
