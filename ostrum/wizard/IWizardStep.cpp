#include "ostrum/wizard/IWizardStep.h"

#include "ostrum/wizard/IWizardInfoPool.h"

IWizardInfoPool::~IWizardInfoPool() = default;

IWizardStep::~IWizardStep() = default;

bool IWizardStep::CheckInfoPoolIntegrity(const IWizardInfoPool* const) const { return true; }

CString IWizardStep::GetUniqueId() { return GetId(); }
