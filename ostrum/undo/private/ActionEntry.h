#pragma once
// ActionEntry: one action of undo history with the identifier it was registered under.

#include <string>
#include <utility>

#include "ostrum/action/IAction.h"
#include "ostrum/undo/private/PairedAllocation.h"
#include "ostrum/undo/private/RefList.h"
#include "ostrum/undo/private/SharedObject.h"

namespace Ostrum::Undo::Private {

/// Owns its action until the action is taken out. Released with the action still inside, it
/// queues the action for disposal at idle time rather than destroying it where it stands.
class ActionEntry : public SharedObject, public RefListItem<ActionEntry> {
 public:
  /// `id` may be null, which leaves the identifier empty.
  ActionEntry(IAction* action, char const* id) : m_action(action) {
    if (id) m_id = id;
  }
  ~ActionEntry() noexcept(false) override;

  static void* operator new(std::size_t size) { return Paired::AllocateAlone(size); }
  static void operator delete(void* object) { Paired::Free(object); }
  /// Room made with this entry for the group it starts (see ActionGroup::MakeEntryWithRoom),
  /// handed out once; null when there is none or it was taken.
  void* TakeGroupRoom() { return std::exchange(m_group_room, nullptr); }

  /// Makes an emptied entry (its action taken) over for `action` and `id`, as if made anew.
  void Refill(IAction* action, char const* id) {
    m_action = action;
    if (id)
      m_id.assign(id);
    else
      m_id.clear();
  }

  /// The action, still owned by the entry; null once taken.
  IAction* PeekAction() const { return m_action; }
  /// The action, which now belongs to the caller; the entry holds nothing afterwards.
  IAction* TakeAction() {
    IAction* action = m_action;
    m_action = nullptr;
    return action;
  }
  /// Takes the action and performs it (nothing if it was taken already).
  void PerformAction();
  /// Takes the action and hands it to the deferred discard (nothing if it was taken already).
  void DiscardAction();

  /// The identifier, "" when the action was registered without one: agents and filters are
  /// never shown a null identifier.
  char const* GetId() const { return m_id.c_str(); }
  bool HasId() const { return !m_id.empty(); }
  void SetId(const std::string& id) { m_id = id; }

 private:
  friend class ActionGroup;

  IAction* m_action;
  std::string m_id;
  void* m_group_room = nullptr;
};

}  // namespace Ostrum::Undo::Private
