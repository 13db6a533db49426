#pragma once
// The processors: a chain with its default dispatcher (appended first), and the way on for
// what the chain does not consume: the base handlers, which lead back into the window's or the
// target's own handling.

#include "ostrum/Export.h"
#include "ostrum/foundation/frameadapter/MessageHandlerChain.h"

namespace MFCA::Private {

/// The way back into a window's own handling (its message map, commands and notifications).
class OSTRUM_API IWndMessageBaseHandler {
 public:
  virtual ~IWndMessageBaseHandler();
  virtual BOOL OnWndMsg(CWnd& window, UINT message, WPARAM wParam, LPARAM lParam, LRESULT* result) = 0;
  virtual BOOL OnCommand(CWnd& window, WPARAM wParam, LPARAM lParam) = 0;
  virtual BOOL OnNotify(CWnd& window, WPARAM wParam, LPARAM lParam, LRESULT* result) = 0;
};

/// The way back into a command target's own routing.
class OSTRUM_API ICmdMessageBaseHandler {
 public:
  virtual ~ICmdMessageBaseHandler();
  virtual BOOL OnCmdMsg(CCmdTarget& target, UINT id, int code, void* extra, AFX_CMDHANDLERINFO* info) = 0;
};

template <class Chain>
class WndMessageProcessor {
 public:
  WndMessageProcessor() { m_chain.AppendMessageDispatcher(&m_default); }
  WndMessageProcessor(const WndMessageProcessor&) = delete;
  WndMessageProcessor& operator=(const WndMessageProcessor&) = delete;
  ~WndMessageProcessor() { m_chain.RemoveMessageDispatcher(&m_default); }

  Chain& GetChain() { return m_chain; }
  WndMessageDispatcher& GetDefaultDispatcher() { return m_default; }

  /// The chain first; what it does not consume goes to the base handler's OnWndMsg. Answers
  /// TRUE if the message was handled.
  int ProcessWndMessage(CWnd& window, UINT message, WPARAM wParam, LPARAM lParam, LRESULT* result,
                        IWndMessageBaseHandler& base) {
    if (m_chain.DispatchMessage(WndMessage(window, message, wParam, lParam, result))) return TRUE;
    return base.OnWndMsg(window, message, wParam, lParam, result);
  }

 private:
  Chain m_chain;
  WndMessageDispatcher m_default;
};

template <class Chain>
class CmdMessageProcessor {
 public:
  /// `offer_questions`: whether the question "who would handle this command?" (handler info
  /// set) is offered to the chain too, or goes straight to the base handler.
  explicit CmdMessageProcessor(bool offer_questions) : m_offer_questions(offer_questions) {
    m_chain.AppendMessageDispatcher(&m_default);
  }
  CmdMessageProcessor(const CmdMessageProcessor&) = delete;
  CmdMessageProcessor& operator=(const CmdMessageProcessor&) = delete;
  ~CmdMessageProcessor() { m_chain.RemoveMessageDispatcher(&m_default); }

  Chain& GetChain() { return m_chain; }
  CmdMessageDispatcher& GetDefaultDispatcher() { return m_default; }

  int ProcessCmdMessage(CCmdTarget& target, UINT id, int code, void* extra, AFX_CMDHANDLERINFO* info,
                        ICmdMessageBaseHandler& base) {
    if ((!info || m_offer_questions) && m_chain.DispatchMessage(CmdMessage(target, id, code, extra, info))) return TRUE;
    return base.OnCmdMsg(target, id, code, extra, info);
  }

 private:
  Chain m_chain;
  CmdMessageDispatcher m_default;
  bool m_offer_questions;
};

}  // namespace MFCA::Private
