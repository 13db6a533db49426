#pragma once
// MWizard: leads the user through an ordered list of steps that share one pool of collected
// information. It owns the steps and the pool, keeps which steps are enabled and which one is
// showing, and moves between them as MOperationWizard operations tell it.
//
// A step whose ShowStep is modal (DelayStepRequests) does not return while the user works in
// it. A move asked for meanwhile (from the dialog, through an operation) hides the step, which
// ends its loop, and is remembered; the call that showed the modal step carries it out once
// ShowStep has returned, so dialogs never nest. Only the last move asked for is kept, and
// ending the wizard meanwhile drops it.

#include <cstddef>
#include <cstdint>
#include <vector>

#include "ostrum/Export.h"
#include "ostrum/foundation/platform/CString.h"

class IWizardInfoPool;
class IWizardStep;
class MOperation;

class OSTRUM_API MWizard {
 public:
  /// m_current for "no step showing".
  static constexpr uint32_t NO_STEP = 0xFFFFFFFF;

  MWizard();
  /// Copies every field: the copy shares steps and pool, which both would delete; for hosts
  /// that clear one of the two.
  MWizard(const MWizard&) = default;
  MWizard& operator=(const MWizard&) = default;
  /// Deletes every step and the pool.
  virtual ~MWizard();

  // --- virtual operations, in their slot order ---

  /// Acts on a wizard operation (MOperationWizard; anything else is ignored): start, end,
  /// next, previous, go to, enable, disable. Operations of other actions change nothing.
  virtual void DoOperation(MOperation& operation);

 protected:
  /// Next: nothing if the current step's CheckInfoPoolIntegrity refuses (the veto); else the
  /// next enabled step, or, after the last one, a finish (76502) sent through the document.
  virtual void _DoOperationNextStep();
  /// Previous: the previous enabled step; with none, the current step again (stored, hidden,
  /// retrieved and shown anew). No veto.
  virtual void _DoOperationPreviousStep();
  /// Stores and hides the current step, then retrieves and shows step `index`; see the class
  /// comment for modal steps.
  virtual void _DoOperationGotoStep(uint32_t index);

 public:
  /// Appends `step`, enabled; the wizard owns it from now on.
  void AddStep(IWizardStep* step);
  /// The first step whose GetUniqueId() is `id`; null if none.
  IWizardStep* GetStep(const CString& id) const;
  /// The step at `index`; null out of range.
  IWizardStep* GetStep(size_t index) const;
  size_t GetStepCount() const { return m_steps.size(); }
  /// The pool: the start's, kept after the end so the host can read the results; null before
  /// the first start. Owned by the wizard.
  IWizardInfoPool* GetInfoPool() { return m_info_pool; }
  const IWizardInfoPool* GetInfoPool() const { return m_info_pool; }
  /// Between a start and an end.
  bool IsRunning() const { return m_running; }
  /// The current step's CheckInfoPoolIntegrity with the pool; false while no step is showing.
  bool CheckInfoPoolIntegrity() const;
  /// Some step after the current one is enabled (from the first step when none is showing).
  bool HasMoreEnabledSteps();
  /// Some step before the current one is enabled.
  bool HasMoreEnabledBackSteps();

 protected:
  /// Sets the step's enabled entry; nothing else happens, even to the current step.
  void _DoOperationEnableStep(uint32_t index, bool enable);
  /// Index of the step with unique id `id`; 0 (the first step) if there is none.
  uint32_t _GetStepIndex(const CString& id) const;
  /// The number of enabled steps from the first up to and including the step `id`: its place
  /// among the enabled steps, from 1; 0 if there is no such step.
  uint32_t _GetEnabledStepIndex(const CString& id) const;
  /// The first enabled index above `index`; `index` itself if there is none.
  uint32_t _GetNextEnabledStepIndex(uint32_t index) const;
  /// The highest enabled index below `index`; `index` itself if there is none.
  uint32_t _GetPreviousEnabledStepIndex(uint32_t index) const;

  std::vector<IWizardStep*> m_steps;  ///< owned, in wizard order
  std::vector<bool> m_enabled;        ///< one entry per step
  uint32_t m_current = NO_STEP;       ///< the showing step
  IWizardInfoPool* m_info_pool = nullptr;  ///< owned
  bool m_running = false;
  bool m_delaying = false;     ///< a step that delays step requests is showing
  uint32_t m_pending_step = 0;  ///< the step asked for while delaying

 private:
  void _Start(IWizardInfoPool* pool);
  void _End();
  // ShowStep calls of delaying steps now on the stack: a delaying step whose loop has
  // already returned (closed other than by a move) delays nothing any more.
  int m_modal_depth = 0;
};
