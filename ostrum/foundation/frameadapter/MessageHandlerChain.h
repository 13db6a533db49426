#pragma once
// The chains: the dispatchers a message is offered to, in order of appending, until one
// consumes it. Dispatchers belong to whoever appended them. A dispatcher removed while a
// message passes gets nothing more, that message included; one appended meanwhile starts with
// the next message. A dispatcher may be appended once.

#include <cstddef>
#include <vector>

#include "ostrum/Export.h"
#include "ostrum/foundation/frameadapter/MessageDispatcher.h"

namespace MFCA {

namespace Private {

// The ordered list of a chain, safe against changes while it is walked.
class OSTRUM_API DispatcherList {
 public:
  bool Append(void* dispatcher);
  bool Remove(void* dispatcher);
  bool Contains(const void* dispatcher) const;
  std::size_t GetCount() const;

  // Walks the list; `offer` answers true to stop. Answers whether one did.
  template <class Offer>
  bool Walk(Offer offer) {
    ++m_walking;
    const std::size_t end = m_items.size();
    bool consumed = false;
    for (std::size_t i = 0; i < end && !consumed; ++i)
      if (m_items[i]) consumed = offer(m_items[i]);
    if (--m_walking == 0 && m_holes) _Compact();
    return consumed;
  }

 private:
  void _Compact();
  std::vector<void*> m_items;  // holes (null) stand for dispatchers removed during a walk
  int m_walking = 0;
  bool m_holes = false;
};

}  // namespace Private

class OSTRUM_API WndMessageHandlerChain {
 public:
  /// False if it is there already (or null).
  bool AppendMessageDispatcher(WndMessageDispatcher* dispatcher) { return m_list.Append(dispatcher); }
  /// False if it was not there.
  bool RemoveMessageDispatcher(WndMessageDispatcher* dispatcher) { return m_list.Remove(dispatcher); }
  bool HasMessageDispatcher(const WndMessageDispatcher* dispatcher) const { return m_list.Contains(dispatcher); }
  std::size_t GetNumMessageDispatchers() const { return m_list.GetCount(); }
  /// True if a dispatcher consumed the message.
  bool DispatchMessage(const WndMessage& message) {
    return m_list.Walk([&](void* d) { return static_cast<WndMessageDispatcher*>(d)->DispatchMessage(message); });
  }

 private:
  Private::DispatcherList m_list;
};

class OSTRUM_API CmdMessageHandlerChain {
 public:
  bool AppendMessageDispatcher(CmdMessageDispatcher* dispatcher) { return m_list.Append(dispatcher); }
  bool RemoveMessageDispatcher(CmdMessageDispatcher* dispatcher) { return m_list.Remove(dispatcher); }
  bool HasMessageDispatcher(const CmdMessageDispatcher* dispatcher) const { return m_list.Contains(dispatcher); }
  std::size_t GetNumMessageDispatchers() const { return m_list.GetCount(); }
  bool DispatchMessage(const CmdMessage& message) {
    return m_list.Walk([&](void* d) { return static_cast<CmdMessageDispatcher*>(d)->DispatchMessage(message); });
  }

 private:
  Private::DispatcherList m_list;
};

}  // namespace MFCA
