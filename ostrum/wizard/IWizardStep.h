#pragma once
// IWizardStep: one page of a wizard, as the engine (MWizard) knows it. During one run of its
// wizard a step gets CreateStep once, then any number of rounds of RetrieveInfo, ShowStep,
// StoreInfo, HideStep, then DestroyStep once. StoreInfo comes before HideStep, so the page's
// controls still exist when their values are read.

#include <cstdint>

#include "ostrum/Export.h"
#include "ostrum/foundation/platform/CString.h"

class IWizardInfoPool;

class OSTRUM_API IWizardStep {
 public:
  virtual ~IWizardStep();

  /// Called once at the wizard's start.
  virtual void CreateStep() = 0;
  /// Fills the page from the pool; `position` is the step's place among the enabled steps,
  /// from 1.
  virtual void RetrieveInfo(IWizardInfoPool* pool, uint32_t position) = 0;
  /// Shows the page. A modal kind returns only when the page is closed: true if a wizard move
  /// closed it (HideStep), false if it was closed another way.
  virtual bool ShowStep() = 0;
  /// Hides the page.
  virtual void HideStep() = 0;
  /// Writes the page's content into the pool.
  virtual void StoreInfo(IWizardInfoPool* pool) = 0;
  /// Called once at the wizard's end, also for steps that were disabled.
  virtual void DestroyStep() = 0;
  /// May the wizard go forward from this step with the pool as it is? True by default; false
  /// keeps the user on the step.
  virtual bool CheckInfoPoolIntegrity(const IWizardInfoPool* const pool) const;
  /// True if ShowStep blocks (a modal page), so that step requests made during it must wait
  /// until it has returned.
  virtual bool DelayStepRequests() = 0;
  /// The step's identifier.
  virtual CString GetId() = 0;
  /// What the wizard compares to find the step; GetId() by default.
  virtual CString GetUniqueId();
};
