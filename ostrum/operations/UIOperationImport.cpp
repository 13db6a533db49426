#include "ostrum/operations/UIOperationImport.h"

namespace {
constexpr uint32_t kOtherTextID = 358;
}  // namespace

UIOperationImport::UIOperationImport() = default;

UIOperationImport::UIOperationImport(uint32_t action) { SetAction(action); }

UIOperationImport::~UIOperationImport() = default;

void UIOperationImport::SetAction(uint32_t action) {
  MOperation::SetAction(action);
  if (action == ACTION_IMPORT) SetFlags(0x370008);
}

const wchar_t* UIOperationImport::_GetActionString() {
  return _LoadActionString(GetAction() == ACTION_IMPORT ? 371 : kOtherTextID);
}

UIOperationExport::UIOperationExport() = default;

UIOperationExport::UIOperationExport(uint32_t action) { SetAction(action); }

UIOperationExport::~UIOperationExport() = default;

void UIOperationExport::SetAction(uint32_t action) {
  MOperation::SetAction(action);
  if (action == ACTION_EXPORT) SetFlags(0x50000);
}

const wchar_t* UIOperationExport::_GetActionString() {
  return _LoadActionString(GetAction() == ACTION_EXPORT ? 370 : kOtherTextID);
}
