#pragma once
// MOperationWizard: everything that happens to a wizard (start, end, moves, enabling steps) is
// one of these operations, run through the document's pipeline like any other change, so that
// the rest of the program sees it. None of them is undoable, prepared or a change of the
// document; enabling and disabling a step do not even refresh frame and views.
//
// In the pipeline, the operation's own share of doing hands it to its wizard
// (MWizard::DoOperation); an operation without a wizard does nothing there.

#include <cstdint>
#include <string>

#include "ostrum/Export.h"
#include "ostrum/foundation/platform/CString.h"
#include "ostrum/operations/MOperation.h"

class IWizardInfoPool;
class MWizard;

class OSTRUM_API MOperationWizard : public MOperation {
 public:
  /// The wizard's action codes.
  enum : uint32_t {
    ACTION_WIZARD_START = 76500,     ///< starts with the operation's pool, on the first step
    ACTION_WIZARD_END = 76501,       ///< ends (cancel)
    ACTION_WIZARD_FINISH = 76502,    ///< ends; what Next on the last enabled step issues
    ACTION_WIZARD_NEXT = 76503,      ///< the next enabled step, if the current one agrees
    ACTION_WIZARD_PREVIOUS = 76504,  ///< the previous enabled step
    ACTION_WIZARD_GOTO = 76505,      ///< the step named by GetStep()
    ACTION_WIZARD_ENABLE = 76506,    ///< enables the step named by GetStep()
    ACTION_WIZARD_DISABLE = 76507,   ///< disables the step named by GetStep()
  };

  MOperationWizard();
  /// An operation with `action` (SetAction, so the wizard's flags apply) for `wizard`.
  explicit MOperationWizard(uint32_t action, MWizard* wizard = nullptr);
  MOperationWizard(const MOperationWizard&) = default;
  MOperationWizard& operator=(const MOperationWizard&) = default;
  ~MOperationWizard() override;

  /// The base's flags for `action`; then, for a wizard action, CanBeUndone, HasToBePrepared and
  /// CausesDocumentChange are removed, and for enabling and disabling also the updates of frame
  /// and views. Other actions keep the base's flags.
  void SetAction(uint32_t action) override;

  /// The wizard the operation acts on; not owned.
  void SetWizard(MWizard* wizard) { m_wizard = wizard; }
  MWizard* GetWizard() const { return m_wizard; }
  /// The unique id of the step that go-to, enable and disable name.
  void SetStep(const CString& step) { m_step = step.Str(); }
  CString GetStep() const { return CString(m_step); }
  /// The pool a start hands to the wizard. Not owned by the operation: it belongs to whoever
  /// made it until a start reaches the wizard, which then owns it.
  void SetInfoPool(IWizardInfoPool* pool) { m_info_pool = pool; }
  IWizardInfoPool* GetInfoPool() const { return m_info_pool; }

 protected:
  /// The base operation's text for the action.
  const wchar_t* _GetActionString() override;
  /// Hands the operation to its wizard, then asks the objects (it usually has none). True
  /// unless an object failed.
  bool _DoOperation() override;

 private:
  MWizard* m_wizard = nullptr;
  std::wstring m_step;
  IWizardInfoPool* m_info_pool = nullptr;
};
