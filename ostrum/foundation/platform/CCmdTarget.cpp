#include "ostrum/foundation/platform/CCmdTarget.h"

#include "ostrum/foundation/platform/Cursor.h"

IMPLEMENT_DYNAMIC(CCmdTarget, CObject)

CCmdTarget::~CCmdTarget() = default;

const ::Ostrum::Desktop::MessageMap* CCmdTarget::GetThisMessageMap() {
  static const ::Ostrum::Desktop::MessageMapEntry entries[] = {{0, 0, 0, 0, nullptr}};
  static const ::Ostrum::Desktop::MessageMap map{nullptr, entries};
  return &map;
}

const ::Ostrum::Desktop::MessageMap* CCmdTarget::GetMessageMap() const { return GetThisMessageMap(); }

const ::Ostrum::Desktop::MessageMapEntry* CCmdTarget::FindMessageEntry(UINT message, UINT code, UINT id) const {
  const bool command = message == WM_COMMAND || message == WM_NOTIFY;
  for (const ::Ostrum::Desktop::MessageMap* map = GetMessageMap(); map; map = map->base ? map->base() : nullptr) {
    for (const ::Ostrum::Desktop::MessageMapEntry* entry = map->entries; entry->thunk; ++entry) {
      if (entry->message != message) continue;
      if (!command || (entry->code == code && id >= entry->first_id && id <= entry->last_id)) return entry;
    }
  }
  return nullptr;
}

BOOL CCmdTarget::OnCmdMsg(UINT id, int code, void*, AFX_CMDHANDLERINFO* info) {
  const ::Ostrum::Desktop::MessageMapEntry* entry = FindMessageEntry(WM_COMMAND, static_cast<UINT>(code), id);
  if (!entry) return FALSE;
  if (info) {
    info->pTarget = this;
    info->thunk = entry->thunk;
    return TRUE;
  }
  entry->thunk(*this, id, 0);
  return TRUE;
}

void CCmdTarget::BeginWaitCursor() { Ostrum::Desktop::BeginWaitCursor(); }

void CCmdTarget::EndWaitCursor() { Ostrum::Desktop::EndWaitCursor(); }
