#include "ostrum/operations/UIOperation.h"

#include <string>

#include "ostrum/foundation/core/MFile.h"

namespace {

// Flags, inverse and text of the user-interface actions. kKeep: the action keeps the flags
// that stood before.
constexpr uint32_t kKeep = 0xFFFFFFFF;
struct UIActionEntry {
  uint32_t action, flags, inverse, text_id;
};
constexpr UIActionEntry kUIActions[] = {
    {UIOperation::ACTION_SELECT, 0x350000, UIOperation::ACTION_DESELECT, 364},
    {UIOperation::ACTION_DESELECT, 0x350000, UIOperation::ACTION_SELECT, 365},
    {UIOperation::ACTION_DESELECT_ALL, 0x350000, UIOperation::ACTION_DESELECT_ALL, 358},
    {UIOperation::ACTION_SHOW, 0x77000A, UIOperation::ACTION_HIDE, 366},
    {UIOperation::ACTION_HIDE, 0x77000A, UIOperation::ACTION_SHOW, 367},
    {UIOperation::ACTION_UI_UNDOABLE, 0x770008, UIOperation::ACTION_UI_UNDOABLE, 368},
    {UIOperation::ACTION_UI_PLAIN, kKeep, UIOperation::ACTION_UI_PLAIN, 369},
    {UIOperation::ACTION_UI_QUIET, 0x60000, UIOperation::ACTION_UI_QUIET, 358},
};

const UIActionEntry* FindUIAction(uint32_t action) {
  for (const UIActionEntry& entry : kUIActions)
    if (entry.action == action) return &entry;
  return nullptr;
}

}  // namespace

UIOperation::UIOperation() = default;

UIOperation::UIOperation(uint32_t action) { SetAction(action); }

UIOperation::~UIOperation() = default;

void UIOperation::SetAction(uint32_t action) {
  MOperation::SetAction(action);
  const UIActionEntry* entry = FindUIAction(action);
  if (entry && entry->flags != kKeep) SetFlags(entry->flags);
}

uint32_t UIOperation::GetInverseAction() {
  const UIActionEntry* entry = FindUIAction(GetAction());
  return entry ? entry->inverse : MOperation::GetInverseAction();
}

uint32_t UIOperation::GetUIActionTextID(uint32_t action) {
  const UIActionEntry* entry = FindUIAction(action);
  return entry ? entry->text_id : GetActionTextID(action);
}

const wchar_t* UIOperation::_GetActionString() {
  if (!FindUIAction(GetAction())) return MOperation::_GetActionString();
  return _LoadActionString(GetUIActionTextID(GetAction()));
}

bool UIOperation::Save(MFile& file) {
  if (!MOperation::Save(file)) return false;
  const uint32_t value = m_saved_value;
  return file.WRITE(&value, 1) == 1;
}

bool UIOperation::Load(MFile& file) {
  if (!MOperation::Load(file)) return false;
  uint32_t value = 0;
  if (file.READ(&value, 1) != 1) return false;
  m_saved_value = value;
  return true;
}
