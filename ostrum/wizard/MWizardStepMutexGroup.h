#pragma once
// MWizardStepMutexGroup: one place in a wizard's order that stands for several alternative
// steps, all prepared at the start, of which one (the active member) is in effect. The group
// never chooses: a host's subclass sets m_active, and names the group in GetId.

#include <cstddef>
#include <vector>

#include "ostrum/Export.h"
#include "ostrum/wizard/IWizardStep.h"

class OSTRUM_API MWizardStepMutexGroup : public IWizardStep {
 public:
  MWizardStepMutexGroup() = default;
  /// Copies the members' pointers and the active index: both groups would delete the members,
  /// so one of them must be cleared by the host.
  MWizardStepMutexGroup(const MWizardStepMutexGroup&) = default;
  MWizardStepMutexGroup& operator=(const MWizardStepMutexGroup&) = default;
  /// Deletes every member.
  ~MWizardStepMutexGroup() override;

  /// Appends a member; the group owns it from now on.
  void AddStep(IWizardStep* step);
  /// The first member whose GetId() (not GetUniqueId()) is `id`; null if none.
  IWizardStep* GetStep(const CString& id);
  /// The member at `index`; null out of range.
  IWizardStep* GetStep(size_t index);
  size_t GetStepsCount() const { return m_steps.size(); }

  /// Every member, in order.
  void CreateStep() override;
  void DestroyStep() override;
  /// The active member only (nothing, or false, when the group has no such member).
  void RetrieveInfo(IWizardInfoPool* pool, uint32_t position) override;
  bool ShowStep() override;
  void HideStep() override;
  void StoreInfo(IWizardInfoPool* pool) override;
  bool CheckInfoPoolIntegrity(const IWizardInfoPool* const pool) const override;
  /// The active member's: a group whose active member is modal behaves as a modal step.
  bool DelayStepRequests() override;

 protected:
  std::vector<IWizardStep*> m_steps;  ///< owned
  unsigned m_active = 0;              ///< the member in effect
};
