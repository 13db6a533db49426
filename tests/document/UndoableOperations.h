#pragma once
// The fixture of the undoable-operation tests: a host document that logs its undo hooks, state
// objects whose label and bytes go through the undo streams, and an undo directory of the
// test's own, so that its files can be counted.

#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

#include "ostrum/deferred/DeferredTaskManager.h"
#include "ostrum/foundation/core/MFile.h"
#include "ostrum/foundation/platform/MessageLoop.h"
#include "ostrum/operations/IUIUpdate.h"
#include "ostrum/undo/MStreamUndo.h"
#include "ostrum/undo/MUndoHandler.h"
#include "ostrum/undo/Manager.h"
#include "support/TestDocument.h"
#include "support/TestObjects.h"
#include "support/UndoDirectory.h"

namespace undo_test {

namespace fs = std::filesystem;

// Its state is a label and a block of bytes, written to the undo streams; whether it is in the
// model is the business of the add and remove hooks. It can be told to throw from either stream.
class StateObject : public TestObject {
 public:
  StateObject(std::string name, CallLog* log, size_t size) : TestObject(std::move(name), log) {
    for (size_t i = 0; i < size; ++i) bytes.push_back(static_cast<unsigned char>(i * 7));
  }
  struct State {
    bool present;
    std::wstring label;
    std::vector<unsigned char> bytes;
    bool operator==(const State&) const = default;
  };
  State Snap() const { return {present, label, bytes}; }

  bool present = true;
  std::wstring label = L"start";
  std::vector<unsigned char> bytes;
  bool throw_on_save = false, throw_on_load = false;
  std::function<void()> on_undo;

  using TestObject::LoadState;
  using TestObject::SaveState;
  bool DoOperation(MOperation& op) override {
    TestObject::DoOperation(op);
    switch (op.GetAction()) {
      case MOperation::ACTION_CHANGE_LABEL:
        label = op.GetLabel();
        for (unsigned char& b : bytes) b = static_cast<unsigned char>(~b);
        break;
      case MOperation::ACTION_REVERSIBLE_FORWARD: bytes.push_back(0x55); break;
      case MOperation::ACTION_REVERSIBLE_BACKWARD: bytes.pop_back(); break;
      default: Presence(op);
    }
    return true;
  }
  bool UndoOperation(MOperation& op) override {
    TestObject::UndoOperation(op);
    if (on_undo) on_undo();
    return Presence(op);
  }
  bool RedoOperation(MOperation& op) override { return TestObject::RedoOperation(op) && Presence(op); }
  void SaveState(const MOperation* op, MStreamUndoOut& out) override {
    TestObject::SaveState(op, out);
    if (throw_on_save) throw std::runtime_error("save");
    out << label << static_cast<long long>(bytes.size());
    out.WriteBuffer(bytes.data(), static_cast<int>(bytes.size()));
  }
  void LoadState(const MOperation* op, MStreamUndoIn& in) override {
    TestObject::LoadState(op, in);
    if (throw_on_load) throw std::runtime_error("load");
    long long size = 0;
    in >> label >> size;
    bytes.assign(static_cast<size_t>(size), 0);
    in.GetMFile()->READ(bytes.data(), bytes.size());
  }

 private:
  bool Presence(const MOperation& op) {
    if (op.GetAction() == MOperation::ACTION_ADD) present = true;
    if (op.GetAction() == MOperation::ACTION_REMOVE) present = false;
    return true;
  }
};

// Logs the document's undo hooks and, at each window update, the mark and the action then held.
class UndoDocument : public TestDocument {
 public:
  explicit UndoDocument(CallLog* log) : TestDocument(log), m_log(log) {}
  void DoUpdateUI(MOperation* op, void* param, uint32_t unused) override {
    const char* mark = IUIUpdate::IsOperationBeingUndone()   ? "undone"
                       : IUIUpdate::IsOperationBeingRedone() ? "redone"
                                                             : "done";
    LogCall(m_log, std::string("ui:") + mark + ":" + std::to_string(op->GetAction()));
    MDocument::DoUpdateUI(op, param, unused);
  }

 protected:
  bool _UndoOperation(uint32_t action, MOperation* op) override {
    LogCall(m_log, "doc._UndoOperation(" + std::to_string(action) + ")");
    return MDocument::_UndoOperation(action, op);
  }
  bool _RedoOperation(MOperation* op) override {
    LogCall(m_log, "doc._RedoOperation");
    return MDocument::_RedoOperation(op);
  }

 private:
  CallLog* m_log;
};

// Per group from the top of a stack: the number of actions and their tags.
struct HistoryAgent : Ostrum::Undo::IActionEnumAgent {
  using IActionEnumAgent::OnAction;
  void OnBeginGroup(wchar_t const*) override { groups.emplace_back(); }
  void OnAction(Ostrum::IAction const*, char const* id) override { groups.back().push_back(id ? id : "(null)"); }
  std::vector<std::vector<std::string>> groups;
};

inline MOperation* Op(uint32_t action, std::initializer_list<StateObject*> objects, const wchar_t* label = nullptr) {
  auto* op = new MOperation(action);
  if (label) op->ChangeLabel(label);
  for (StateObject* object : objects) op->AddObject(object);
  return op;
}

struct UndoableOperations : testing::Test {
  UndoableOperations() {
    s.Attach(&o);
    doc.SetDocLoaded(true);
  }
  ~UndoableOperations() override {
    doc.CleanUpUndoHandler();
    Ostrum::Desktop::RunUntilIdle();
    MDocument::SetUndoDiskSpace(104857600);
  }
  static void SetDir(const fs::path& path) { PrivateUndoDirectory::Set(path); }
  bool Do(MOperation* op) { return doc.DoOperation(op, nullptr); }
  Ostrum::Undo::Manager& manager() { return *doc.GetUndoManager(); }
  // Sizes of the files whose names start with `prefix`.
  std::vector<uintmax_t> Files(const std::string& prefix) const {
    std::vector<uintmax_t> sizes;
    for (const auto& entry : fs::directory_iterator(dir))
      if (entry.path().filename().string().rfind(prefix, 0) == 0) sizes.push_back(entry.file_size());
    return sizes;
  }
  size_t FileCount() const { return Files("~varn_").size(); }
  HistoryAgent Undos() { return Walk(&Ostrum::Undo::Manager::EnumerateUndoActions); }
  HistoryAgent Redos() { return Walk(&Ostrum::Undo::Manager::EnumerateRedoActions); }
  template <typename Enumerate>
  HistoryAgent Walk(Enumerate enumerate) {
    HistoryAgent agent;
    (manager().*enumerate)(&agent, nullptr);
    return agent;
  }

  Ostrum::DeferredTaskManager::ScopedSession session;
  PrivateUndoDirectory undo_directory;
  const fs::path& dir = undo_directory.path;
  CallLog log;
  StateObject s{"s", &log, 4096}, t{"t", &log, 4096};
  TestObject o{"o", &log};
  UndoDocument doc{&log};
};

}  // namespace undo_test
