#pragma once
// Test doubles of the object model: a tree object that implements every hook of IObject and an
// observer, both writing their calls as "<name>.<call>" into a CallLog. What they answer and
// what they do meanwhile (nested operations, deaths, throws) is set per test.

#include <functional>
#include <string>

#include "ostrum/objects/UIObject.h"
#include "support/CallLog.h"

class TestObject : public UIObject {
 public:
  TestObject(std::string name, CallLog* log, std::wstring type_name = L"Thing")
      : m_name(std::move(name)), m_log(log), m_type_name(std::move(type_name)) {}
  ~TestObject() override { Log("~"); }

  bool prepare_answer = true;
  bool do_answer = true;
  /// Runs inside DoOperation, before it answers.
  std::function<void(MOperation&)> on_do;
  /// Runs inside Update, after it is logged.
  std::function<void(const MOperation&)> on_update;
  /// Which operation and stream the last SaveState and LoadState were given.
  const MOperation* saved_for = nullptr;
  const MStreamUndoOut* saved_to = nullptr;
  const MOperation* loaded_for = nullptr;

  const std::string& Name() const { return m_name; }
  IObserver* AsObserver() { return this; }

  bool PrepareOperation(MOperation*) override {
    Log("Prepare");
    return prepare_answer;
  }
  bool DoOperation(MOperation& operation) override {
    Log("Do");
    if (on_do) on_do(operation);
    return do_answer;
  }
  bool UndoOperation(MOperation&) override {
    Log("Undo");
    return true;
  }
  bool RedoOperation(MOperation&) override {
    Log("Redo");
    return true;
  }
  void LoadState(MStreamUndoIn&) override { Log("LoadState"); }
  void LoadState(const MOperation* operation, MStreamUndoIn&) override {
    Log("LoadState(op)");
    loaded_for = operation;
  }
  void SaveState(MStreamUndoOut&) override { Log("SaveState"); }
  void SaveState(const MOperation* operation, MStreamUndoOut& out) override {
    Log("SaveState(op)");
    saved_for = operation;
    saved_to = &out;
  }
  void OnRemove() override { Log("OnRemove"); }
  void OnRestore() override { Log("OnRestore"); }
  bool IsRemoved() const override { return false; }
  bool IsRegistered() const override { return true; }
  bool IsSelected() const override { return false; }
  const wchar_t* GetUserInterfaceTypeName() const override { return m_type_name.c_str(); }
  bool MustBeSavedInRoot() const override { return false; }

  void Update(const MOperation& operation) override {
    Log("Update");
    if (on_update) on_update(operation);
  }
  void OnSubjectDestroyed(const MSubject*) override { Log("OnSubjectDestroyed"); }

 private:
  void Log(const char* call) const { LogCall(m_log, m_name + "." + call); }

  std::string m_name;
  CallLog* m_log;
  std::wstring m_type_name;
};

/// A tree object of another run-time type.
class OtherTestObject : public TestObject {
 public:
  using TestObject::TestObject;
};

class RecordingObserver : public IObserver {
 public:
  RecordingObserver(std::string name = "observer", CallLog* log = nullptr)
      : m_name(std::move(name)), m_log(log) {}
  ~RecordingObserver() override { LogCall(m_log, m_name + ".~"); }

  std::function<void(const MOperation&)> on_update;
  std::function<void(const MSubject*)> on_subject_destroyed;

  void Update(const MOperation& operation) override {
    LogCall(m_log, m_name + ".Update");
    if (on_update) on_update(operation);
  }
  void OnSubjectDestroyed(const MSubject* subject) override {
    LogCall(m_log, m_name + ".OnSubjectDestroyed");
    if (on_subject_destroyed) on_subject_destroyed(subject);
  }

  void SetName(std::string name, CallLog* log) {
    m_name = std::move(name);
    m_log = log;
  }

 private:
  std::string m_name;
  CallLog* m_log;
};
