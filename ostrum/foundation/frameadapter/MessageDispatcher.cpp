#include "ostrum/foundation/frameadapter/MessageDispatcher.h"

namespace MFCA {

IWndMessageHandlerFunctor::~IWndMessageHandlerFunctor() = default;
ICmdMessageHandlerFunctor::~ICmdMessageHandlerFunctor() = default;

WndMessageDispatcher::WndMessageDispatcher() = default;
WndMessageDispatcher::~WndMessageDispatcher() = default;

void WndMessageDispatcher::SetMessageHandlerFunctor(UINT message, IWndMessageHandlerFunctor* functor) {
  if (functor)
    m_handlers[message] = std::shared_ptr<IWndMessageHandlerFunctor>(functor);
  else
    m_handlers.erase(message);
}

bool WndMessageDispatcher::DispatchMessage(const WndMessage& message) {
  auto it = m_handlers.find(message.GetMessage());
  if (it == m_handlers.end()) return false;
  // Held for the call: the handler may replace or remove itself meanwhile.
  const std::shared_ptr<IWndMessageHandlerFunctor> handler = it->second;
  return (*handler)(message);
}

CmdMessageDispatcher::CmdMessageDispatcher() = default;
CmdMessageDispatcher::~CmdMessageDispatcher() = default;

void CmdMessageDispatcher::SetCommandHandlerFunctor(UINT id, int code, ICmdMessageHandlerFunctor* functor) {
  if (functor)
    m_handlers[{id, code}] = std::shared_ptr<ICmdMessageHandlerFunctor>(functor);
  else
    m_handlers.erase({id, code});
}

bool CmdMessageDispatcher::DispatchMessage(const CmdMessage& message) {
  auto it = m_handlers.find({message.GetID(), message.GetCode()});
  if (it == m_handlers.end()) return false;
  if (message.GetHandlerInfo()) return true;  // only asked who would handle it
  const std::shared_ptr<ICmdMessageHandlerFunctor> handler = it->second;
  return (*handler)(message);
}

}  // namespace MFCA
