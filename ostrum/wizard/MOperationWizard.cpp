#include "ostrum/wizard/MOperationWizard.h"

#include "ostrum/wizard/MWizard.h"

MOperationWizard::MOperationWizard() = default;

MOperationWizard::MOperationWizard(uint32_t action, MWizard* wizard) : m_wizard(wizard) {
  // The base constructor's SetAction cannot reach this class's; the flags are set here.
  SetAction(action);
}

MOperationWizard::~MOperationWizard() = default;

void MOperationWizard::SetAction(uint32_t action) {
  MOperation::SetAction(action);
  if (action < ACTION_WIZARD_START || action > ACTION_WIZARD_DISABLE) return;
  if (action == ACTION_WIZARD_ENABLE || action == ACTION_WIZARD_DISABLE) {
    RemoveFlags(FLAG_NEEDS_UPDATE_FRAME);
    RemoveFlags(FLAG_NEEDS_UPDATE_VIEW);
    RemoveFlags(FLAG_NEEDS_UPDATE_UI);
  }
  RemoveFlags(FLAG_CAN_BE_UNDONE);
  RemoveFlags(FLAG_HAS_TO_BE_PREPARED);
  RemoveFlags(FLAG_CAUSES_DOCUMENT_CHANGE);
}

const wchar_t* MOperationWizard::_GetActionString() { return MOperation::_GetActionString(); }

bool MOperationWizard::_DoOperation() {
  if (m_wizard) m_wizard->DoOperation(*this);
  return MOperation::_DoOperation();
}
