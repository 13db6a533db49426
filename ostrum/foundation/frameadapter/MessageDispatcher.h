#pragma once
// The dispatchers of the chains: each keeps one handler per window message (or per command
// id and code), owns it, and offers a message to it. A handler may replace or remove itself,
// or any other, while it runs.

#include <map>
#include <memory>
#include <utility>

#include "ostrum/Export.h"
#include "ostrum/foundation/frameadapter/MessageHandlers.h"

namespace MFCA {

class OSTRUM_API WndMessageDispatcher {
 public:
  WndMessageDispatcher();
  WndMessageDispatcher(const WndMessageDispatcher&) = delete;
  WndMessageDispatcher& operator=(const WndMessageDispatcher&) = delete;
  virtual ~WndMessageDispatcher();

  /// `functor` (owned from now on) handles `message`, in place of the one before; null
  /// removes it.
  void SetMessageHandlerFunctor(UINT message, IWndMessageHandlerFunctor* functor);
  void RemoveMessageHandlerFunctor(UINT message) { SetMessageHandlerFunctor(message, nullptr); }
  bool HasMessageHandler(UINT message) const { return m_handlers.count(message) != 0; }
  /// Offers the message to its handler; true if consumed. Nothing for a message without one.
  virtual bool DispatchMessage(const WndMessage& message);

 private:
  std::map<UINT, std::shared_ptr<IWndMessageHandlerFunctor>> m_handlers;
};

class OSTRUM_API CmdMessageDispatcher {
 public:
  CmdMessageDispatcher();
  CmdMessageDispatcher(const CmdMessageDispatcher&) = delete;
  CmdMessageDispatcher& operator=(const CmdMessageDispatcher&) = delete;
  virtual ~CmdMessageDispatcher();

  /// `functor` (owned) handles command `id` with notification `code` (CN_COMMAND, 0, for menus
  /// and accelerators); null removes it.
  void SetCommandHandlerFunctor(UINT id, int code, ICmdMessageHandlerFunctor* functor);
  void SetCommandHandlerFunctor(UINT id, ICmdMessageHandlerFunctor* functor) { SetCommandHandlerFunctor(id, 0, functor); }
  bool HasCommandHandler(UINT id, int code = 0) const { return m_handlers.count({id, code}) != 0; }
  /// Runs the command's handler; true if it handled it. A question (handler info set) is
  /// answered true for a command with a handler, without running it.
  virtual bool DispatchMessage(const CmdMessage& message);

 private:
  std::map<std::pair<UINT, int>, std::shared_ptr<ICmdMessageHandlerFunctor>> m_handlers;
};

}  // namespace MFCA
