#pragma once
// What the wizard tests share: a pool, a step that logs every call the engine makes, a
// document that logs every operation the pipeline publishes, and a wizard whose state the
// tests may read.

#include <functional>
#include <string>
#include <vector>

#include "ostrum/document/MDocument.h"
#include "ostrum/wizard/IWizardInfoPool.h"
#include "ostrum/wizard/IWizardStep.h"
#include "ostrum/wizard/MOperationWizard.h"
#include "ostrum/wizard/MWizard.h"
#include "support/CallLog.h"

/// The information the test wizards collect; each StoreInfo signs it.
struct PlanPool : IWizardInfoPool {
  explicit PlanPool(bool* deleted = nullptr) : m_deleted(deleted) {}
  ~PlanPool() override {
    if (m_deleted) *m_deleted = true;
  }
  std::wstring implant;
  int screw_length = 0;
  std::vector<std::string> stored_by;
  bool* m_deleted;
};

/// A step that does nothing but write its calls into the log ("a.Show", "b.Retrieve(2)").
class LoggingStep : public IWizardStep {
 public:
  LoggingStep(std::string id, CallLog* log) : m_id(std::move(id)), m_log(log) {}

  bool integrity = true;  ///< CheckInfoPoolIntegrity's answer
  bool delays = false;    ///< DelayStepRequests' answer
  /// Runs inside ShowStep (as the user's work in the page) and answers for it.
  std::function<bool()> on_show;
  /// Runs inside StoreInfo, after the step signed the pool.
  std::function<void()> on_store;

  void CreateStep() override { Log("Create"); }
  void RetrieveInfo(IWizardInfoPool*, uint32_t position) override { Log("Retrieve(" + std::to_string(position) + ")"); }
  bool ShowStep() override {
    Log("Show");
    const bool shown = on_show ? on_show() : true;
    if (on_show) Log(shown ? "Shown" : "ShowFalse");
    return shown;
  }
  void HideStep() override { Log("Hide"); }
  void StoreInfo(IWizardInfoPool* pool) override {
    Log("Store");
    if (auto* plan = dynamic_cast<PlanPool*>(pool)) plan->stored_by.push_back(m_id);
    if (on_store) on_store();
  }
  void DestroyStep() override { Log("Destroy"); }
  bool CheckInfoPoolIntegrity(const IWizardInfoPool* const) const override {
    LogCall(m_log, m_id + ".Check");
    return integrity;
  }
  bool DelayStepRequests() override { return delays; }
  CString GetId() override { return CString(std::wstring(m_id.begin(), m_id.end())); }

 private:
  void Log(const std::string& what) { LogCall(m_log, m_id + "." + what); }
  std::string m_id;
  CallLog* m_log;
};

/// A host document that sees every operation as the pipeline publishes it: "op:76503" when the
/// document's share is done, "ui:76503" when frame and views are told.
class ObservingDocument : public MDocument {
 public:
  explicit ObservingDocument(CallLog* log) : m_log(log) { SetDocLoaded(true); }
  void SetDocLoaded(bool loaded) { m_doc_loaded = loaded; }
  void DoUpdateUI(MOperation* operation, void* param, uint32_t unused) override {
    LogCall(m_log, "ui:" + std::to_string(operation->GetAction()));
    MDocument::DoUpdateUI(operation, param, unused);
  }

 protected:
  bool _DoOperation(MOperation* operation) override {
    LogCall(m_log, "op:" + std::to_string(operation->GetAction()));
    return MDocument::_DoOperation(operation);
  }

 private:
  CallLog* m_log;
};

/// A wizard whose state the tests read.
class TestWizard : public MWizard {
 public:
  uint32_t Current() const { return m_current; }
  bool Delaying() const { return m_delaying; }
  bool Enabled(size_t index) const { return m_enabled[index]; }
  uint32_t EnabledIndex(const wchar_t* id) const { return _GetEnabledStepIndex(id); }
  uint32_t StepIndex(const wchar_t* id) const { return _GetStepIndex(id); }
};

/// Sends a wizard operation through the document's pipeline, as a host's button would.
inline bool SendWizard(MWizard& wizard, uint32_t action, const wchar_t* step = nullptr,
                       IWizardInfoPool* pool = nullptr) {
  auto* op = new MOperationWizard(action, &wizard);
  if (step) op->SetStep(step);
  op->SetInfoPool(pool);
  return op->DoOperation(nullptr);
}
