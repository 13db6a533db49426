#pragma once
// A command target with a chain of its own: the base of the document. Its commands go through
// its chain, then on to the platform's routing of `Base` (for a document: its own message map).

#include "ostrum/foundation/frameadapter/MessageProcessor.h"
#include "ostrum/foundation/platform/CCmdTarget.h"

namespace MFCA {

namespace Private {

template <class Base, class Chain>
class CmdMessageTargetBase : public Base {
 public:
  explicit CmdMessageTargetBase(bool offer_questions) : m_processor(offer_questions) {}

  /// The target's own chain, then Base::OnCmdMsg.
  BOOL OnCmdMsg(UINT id, int code, void* extra, AFX_CMDHANDLERINFO* info) override {
    // One way back for every target of this kind, made on first use and kept.
    static ICmdMessageBaseHandler* const base = new BaseRouting;
    return m_processor.ProcessCmdMessage(*this, id, code, extra, info, *base);
  }

 protected:
  CmdMessageProcessor<Chain>& _GetProcessor() { return m_processor; }

 private:
  BOOL _OnCmdMsg(UINT id, int code, void* extra, AFX_CMDHANDLERINFO* info) { return Base::OnCmdMsg(id, code, extra, info); }

  struct BaseRouting : ICmdMessageBaseHandler {
    BOOL OnCmdMsg(CCmdTarget& target, UINT id, int code, void* extra, AFX_CMDHANDLERINFO* info) override {
      return static_cast<CmdMessageTargetBase&>(target)._OnCmdMsg(id, code, extra, info);
    }
  };

  CmdMessageProcessor<Chain> m_processor;
};

}  // namespace Private

template <class Base, class Chain>
class CmdMessageTarget : public Private::CmdMessageTargetBase<Base, Chain> {
 public:
  CmdMessageTarget() : Private::CmdMessageTargetBase<Base, Chain>(true) {}
  Chain& GetCmdMessageHandlerChain() { return this->_GetProcessor().GetChain(); }
  CmdMessageDispatcher& GetDefaultCmdMessageDispatcher() { return this->_GetProcessor().GetDefaultDispatcher(); }
};

}  // namespace MFCA
