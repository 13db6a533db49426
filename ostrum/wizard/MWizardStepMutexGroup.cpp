#include "ostrum/wizard/MWizardStepMutexGroup.h"

MWizardStepMutexGroup::~MWizardStepMutexGroup() {
  for (IWizardStep* step : m_steps) delete step;
}

void MWizardStepMutexGroup::AddStep(IWizardStep* step) {
  if (step) m_steps.push_back(step);
}

IWizardStep* MWizardStepMutexGroup::GetStep(const CString& id) {
  for (IWizardStep* step : m_steps)
    if (step->GetId() == id) return step;
  return nullptr;
}

IWizardStep* MWizardStepMutexGroup::GetStep(size_t index) { return index < m_steps.size() ? m_steps[index] : nullptr; }

void MWizardStepMutexGroup::CreateStep() {
  for (IWizardStep* step : m_steps) step->CreateStep();
}

void MWizardStepMutexGroup::DestroyStep() {
  for (IWizardStep* step : m_steps) step->DestroyStep();
}

// A group whose index names no member acts as an empty page rather than reading past the end.
void MWizardStepMutexGroup::RetrieveInfo(IWizardInfoPool* pool, uint32_t position) {
  if (m_active < m_steps.size()) m_steps[m_active]->RetrieveInfo(pool, position);
}

bool MWizardStepMutexGroup::ShowStep() { return m_active < m_steps.size() && m_steps[m_active]->ShowStep(); }

void MWizardStepMutexGroup::HideStep() {
  if (m_active < m_steps.size()) m_steps[m_active]->HideStep();
}

void MWizardStepMutexGroup::StoreInfo(IWizardInfoPool* pool) {
  if (m_active < m_steps.size()) m_steps[m_active]->StoreInfo(pool);
}

bool MWizardStepMutexGroup::CheckInfoPoolIntegrity(const IWizardInfoPool* const pool) const {
  return m_active < m_steps.size() ? m_steps[m_active]->CheckInfoPoolIntegrity(pool) : true;
}

bool MWizardStepMutexGroup::DelayStepRequests() {
  return m_active < m_steps.size() && m_steps[m_active]->DelayStepRequests();
}
