#include "ostrum/wizard/MWizard.h"

#include "ostrum/wizard/IWizardInfoPool.h"
#include "ostrum/wizard/IWizardStep.h"
#include "ostrum/wizard/MOperationWizard.h"

MWizard::MWizard() = default;

MWizard::~MWizard() {
  for (IWizardStep* step : m_steps) delete step;
  m_steps.clear();
  m_enabled.clear();
  delete m_info_pool;
}

void MWizard::DoOperation(MOperation& operation) {
  auto* op = dynamic_cast<MOperationWizard*>(&operation);
  if (!op) return;
  switch (op->GetAction()) {
    case MOperationWizard::ACTION_WIZARD_START:
      _Start(op->GetInfoPool());
      break;
    case MOperationWizard::ACTION_WIZARD_END:
    case MOperationWizard::ACTION_WIZARD_FINISH:
      _End();
      break;
    case MOperationWizard::ACTION_WIZARD_NEXT:
      _DoOperationNextStep();
      break;
    case MOperationWizard::ACTION_WIZARD_PREVIOUS:
      _DoOperationPreviousStep();
      break;
    case MOperationWizard::ACTION_WIZARD_GOTO:
      _DoOperationGotoStep(_GetStepIndex(op->GetStep()));
      break;
    case MOperationWizard::ACTION_WIZARD_ENABLE:
      _DoOperationEnableStep(_GetStepIndex(op->GetStep()), true);
      break;
    case MOperationWizard::ACTION_WIZARD_DISABLE:
      _DoOperationEnableStep(_GetStepIndex(op->GetStep()), false);
      break;
    default:
      break;
  }
}

void MWizard::_Start(IWizardInfoPool* pool) {
  // 1. The pool of the operation replaces any held (also that of a wizard still running).
  if (pool != m_info_pool) delete m_info_pool;
  m_info_pool = pool;
  m_delaying = false;
  // 2. A new start re-enables every step.
  for (size_t i = 0; i < m_steps.size(); ++i) {
    m_steps[i]->CreateStep();
    m_enabled[i] = true;
  }
  m_running = true;
  _DoOperationGotoStep(0);
}

void MWizard::_End() {
  // The current step keeps its input in the pool, which stays with the wizard.
  if (m_current < m_steps.size()) {
    IWizardStep* step = m_steps[m_current];
    step->StoreInfo(m_info_pool);
    step->HideStep();
  }
  m_current = NO_STEP;
  // A move asked for inside a modal step is dropped: the call that showed it finds nothing
  // to carry out.
  m_delaying = false;
  for (IWizardStep* step : m_steps) step->DestroyStep();
  m_running = false;
}

void MWizard::_DoOperationNextStep() {
  if (m_current >= m_steps.size()) return;  // no step showing: nothing to go on from
  if (!CheckInfoPoolIntegrity()) return;   // the veto: the user corrects the input
  const uint32_t next = _GetNextEnabledStepIndex(m_current);
  if (next != m_current) {
    _DoOperationGotoStep(next);
    return;
  }
  // After the last enabled step the wizard finishes the way every end goes: an operation.
  auto* finish = new MOperationWizard(MOperationWizard::ACTION_WIZARD_FINISH, this);
  finish->DoOperation(nullptr);
}

void MWizard::_DoOperationPreviousStep() {
  if (m_current >= m_steps.size()) return;
  _DoOperationGotoStep(_GetPreviousEnabledStepIndex(m_current));
}

void MWizard::_DoOperationGotoStep(uint32_t index) {
  // A delaying step closed other than by a move has returned from ShowStep: there is no
  // outer call left to carry out a pending move, so this one is carried out now.
  if (m_delaying && m_modal_depth == 0) m_delaying = false;
  // 1.
  if (m_delaying) m_pending_step = index;
  // 2. The current step stores before it hides, while its controls exist.
  if (m_current != NO_STEP) {
    if (m_current < m_steps.size()) {
      IWizardStep* step = m_steps[m_current];
      step->StoreInfo(m_info_pool);
      step->HideStep();
    }
    m_current = NO_STEP;
  }
  // 3. Inside a modal step: hiding it ends its loop, and the call that showed it goes on.
  if (m_delaying) return;
  if (index >= m_steps.size()) return;
  // 4.-6.
  m_current = index;
  IWizardStep* step = m_steps[index];
  const bool delays = step->DelayStepRequests();
  if (delays) m_delaying = true;
  step->RetrieveInfo(m_info_pool, _GetEnabledStepIndex(step->GetUniqueId()));
  // 7.
  if (delays) ++m_modal_depth;
  const bool shown = step->ShowStep();
  if (delays) --m_modal_depth;
  if (shown && m_delaying) {
    m_delaying = false;
    _DoOperationGotoStep(m_pending_step);
  }
}

void MWizard::AddStep(IWizardStep* step) {
  if (!step) return;
  m_steps.push_back(step);
  m_enabled.push_back(true);
}

IWizardStep* MWizard::GetStep(const CString& id) const {
  for (IWizardStep* step : m_steps)
    if (step->GetUniqueId() == id) return step;
  return nullptr;
}

IWizardStep* MWizard::GetStep(size_t index) const { return index < m_steps.size() ? m_steps[index] : nullptr; }

bool MWizard::CheckInfoPoolIntegrity() const {
  if (m_current >= m_steps.size()) return false;
  return m_steps[m_current]->CheckInfoPoolIntegrity(m_info_pool);
}

bool MWizard::HasMoreEnabledSteps() {
  const size_t from = m_current == NO_STEP ? 0 : size_t{m_current} + 1;
  for (size_t i = from; i < m_enabled.size(); ++i)
    if (m_enabled[i]) return true;
  return false;
}

bool MWizard::HasMoreEnabledBackSteps() {
  if (m_current == NO_STEP) return false;
  for (int64_t i = int64_t{m_current} - 1; i >= 0; --i)
    if (m_enabled[static_cast<size_t>(i)]) return true;
  return false;
}

void MWizard::_DoOperationEnableStep(uint32_t index, bool enable) {
  if (index < m_enabled.size()) m_enabled[index] = enable;
}

uint32_t MWizard::_GetStepIndex(const CString& id) const {
  for (size_t i = 0; i < m_steps.size(); ++i)
    if (m_steps[i]->GetUniqueId() == id) return static_cast<uint32_t>(i);
  return 0;
}

uint32_t MWizard::_GetEnabledStepIndex(const CString& id) const {
  uint32_t count = 0;
  for (size_t i = 0; i < m_steps.size(); ++i) {
    if (m_enabled[i]) ++count;
    if (m_steps[i]->GetUniqueId() == id) return count;
  }
  return 0;
}

uint32_t MWizard::_GetNextEnabledStepIndex(uint32_t index) const {
  for (size_t i = size_t{index} + 1; i < m_enabled.size(); ++i)
    if (m_enabled[i]) return static_cast<uint32_t>(i);
  return index;
}

uint32_t MWizard::_GetPreviousEnabledStepIndex(uint32_t index) const {
  for (int64_t i = int64_t{index} - 1; i >= 0; --i)
    if (i < static_cast<int64_t>(m_enabled.size()) && m_enabled[static_cast<size_t>(i)]) return static_cast<uint32_t>(i);
  return index;
}
