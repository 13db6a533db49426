#pragma once
// TestObject: a tree object that implements every hook of IObject and logs its calls, as object,
// as subject and as observer, as "<name>.<call>" into a CallLog. What it answers and what it
// does meanwhile (nested operations, deaths, throws) is set per test.

#include <functional>
#include <string>

#include "ostrum/objects/UIObject.h"
#include "support/CallLog.h"

class TestObject : public UIObject {
 public:
  explicit TestObject(std::string name = "", CallLog* log = nullptr, std::wstring type_name = L"Thing")
      : m_name(std::move(name)), m_log(log), m_type_name(std::move(type_name)) {}
  ~TestObject() override { Log("~"); }

  bool prepare_answer = true;
  bool do_answer = true;
  /// Run inside DoOperation and Update, after the call is logged.
  std::function<void(MOperation&)> on_do;
  std::function<void(const MOperation&)> on_update;
  /// The subject whose death was told last.
  const MSubject* dead_subject = nullptr;

  bool PrepareOperation(MOperation*) override { return Log("Prepare") && prepare_answer; }
  bool DoOperation(MOperation& operation) override {
    Log("Do");
    if (on_do) on_do(operation);
    return do_answer;
  }
  bool UndoOperation(MOperation&) override { return Log("Undo"); }
  bool RedoOperation(MOperation&) override { return Log("Redo"); }
  void LoadState(MStreamUndoIn&) override { Log("LoadState"); }
  void LoadState(const MOperation*, MStreamUndoIn&) override { Log("LoadState(op)"); }
  void SaveState(MStreamUndoOut&) override { Log("SaveState"); }
  void SaveState(const MOperation*, MStreamUndoOut&) override { Log("SaveState(op)"); }
  void OnRemove() override { Log("OnRemove"); }
  void OnRestore() override { Log("OnRestore"); }
  bool IsRemoved() const override { return false; }
  bool IsRegistered() const override { return true; }
  bool IsSelected() const override { return false; }
  const wchar_t* GetUserInterfaceTypeName() const override { return m_type_name.c_str(); }
  bool MustBeSavedInRoot() const override { return false; }

  void Detach(IObserver* observer) override {
    Log("Detach");
    UIObject::Detach(observer);
  }
  void Update(const MOperation& operation) override {
    Log("Update");
    if (on_update) on_update(operation);
  }
  void OnSubjectDestroyed(const MSubject* subject) override {
    Log("OnSubjectDestroyed");
    dead_subject = subject;
  }

 private:
  bool Log(const char* call) const {
    LogCall(m_log, m_name + "." + call);
    return true;
  }

  std::string m_name;
  CallLog* m_log;
  std::wstring m_type_name;
};
