#pragma once
// What the manager's tests share: a host action that behaves like a real host's undo action
// (it logs its name when performed and registers itself again, so it moves to the other
// stack), an agent that writes a history as text, and a fixture with a deferred-task session,
// so that what leaves a history is destroyed at idle time as in a running program.

#include <gtest/gtest.h>

#include <cwchar>
#include <functional>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "ostrum/deferred/DeferredTaskManager.h"
#include "ostrum/foundation/platform/MessageLoop.h"
#include "ostrum/undo/Manager.h"
#include "support/CallLog.h"

namespace undo_test {

using Ostrum::IAction;
using Ostrum::Undo::IActionEnumAgent;
using Ostrum::Undo::IActionFilter;
using Ostrum::Undo::Manager;
using Ostrum::Undo::Transaction;

class HostAction : public IAction {
 public:
  using Hook = std::function<void()>;
  /// `during` runs inside every _Perform before the action registers itself again; if it
  /// throws, the action disposes of itself and the exception passes on.
  HostAction(std::string name, Manager& manager, CallLog& log, Hook during = {})
      : m_name(std::move(name)), m_manager(manager), m_log(log), m_during(std::move(during)) {
    ++s_alive;
  }
  const std::string& Name() const { return m_name; }
  static int Alive() { return s_alive; }

 protected:
  ~HostAction() override { --s_alive; }
  void _Perform() override {
    LogCall(&m_log, m_name);
    if (m_during) {
      try {
        m_during();
      } catch (...) {
        delete this;
        throw;
      }
    }
    if (m_manager.IsUndoRegistrationEnabled())
      m_manager.RegisterAction(this, nullptr);
    else
      delete this;
  }
  void _Discard() override {
    LogCall(&m_log, "discard " + m_name);
    delete this;
  }

 private:
  std::string m_name;
  Manager& m_manager;
  CallLog& m_log;
  Hook m_during;
  static inline int s_alive = 0;
};

/// Writes a walk as "[text: newest ... oldest] [...]", an action as its name and "#id" when it
/// has one; logs the walk's calls if given a log.
class TextAgent : public IActionEnumAgent {
 public:
  explicit TextAgent(CallLog* calls = nullptr) : m_calls(calls) {}
  std::string text;
  void OnStart() override { LogCall(m_calls, "start"); }
  void OnFinish() override { LogCall(m_calls, "finish"); }
  void OnAbort() override { LogCall(m_calls, "abort"); }
  void OnBeginGroup(wchar_t const* s) override {
    LogCall(m_calls, "begin");
    text += (text.empty() ? "[" : " [") + std::string(s, s + std::wcslen(s)) + ":";
  }
  void OnEndGroup() override {
    LogCall(m_calls, "end");
    text += "]";
  }
  void OnAction(IAction const* action, char const* id) override { Add(action, id); }
  void OnAction(IAction* action, char const* id) override {
    Add(action, id);
    m_taken.emplace_back(action);
  }

 private:
  struct Dispose {
    void operator()(IAction* a) const { a->Discard(); }
  };
  void Add(IAction const* action, char const* id) {
    auto* host = dynamic_cast<HostAction const*>(action);
    const std::string name = (host ? host->Name() : "?") + (*id ? "#" + std::string(id) : "");
    LogCall(m_calls, "action " + name);
    text += " " + name;
  }
  CallLog* m_calls;
  std::vector<std::unique_ptr<IAction, Dispose>> m_taken;  // what an extraction handed over
};

/// Matches the host actions whose name is listed.
class ByName : public IActionFilter {
 public:
  explicit ByName(std::set<std::string> names) : m_names(std::move(names)) {}
  bool IsActionMatched(IAction const* a, char const*) const override {
    return m_names.count(dynamic_cast<HostAction const*>(a)->Name()) > 0;
  }

 private:
  std::set<std::string> m_names;
};

/// Calls a member through a handle that may be null, as a host may: a null handle answers like a
/// stale one. The sanitizer's check of the call itself is off here, and the empty asm keeps the
/// compiler from assuming that the handle is a real pointer.
template <class R, class T>
__attribute__((no_sanitize("undefined"))) R Ask(T* tx, R (Transaction::*member)() const) {
  asm("" : "+r"(tx));
  return (tx->*member)();
}
template <class R>
__attribute__((no_sanitize("undefined"))) R Ask(Transaction* tx, R (Transaction::*member)()) {
  asm("" : "+r"(tx));
  return (tx->*member)();
}

/// "undo [..] | redo [..]" of a manager that is not busy.
inline std::string Stacks(Manager& manager) {
  TextAgent undo, redo;
  manager.EnumerateUndoActions(&undo, nullptr);
  manager.EnumerateRedoActions(&redo, nullptr);
  return "undo " + undo.text + " | redo " + redo.text;
}

class UndoTest : public ::testing::Test {
 protected:
  void SetUp() override {
    Ostrum::DeferredTaskManager::StartDeferredTaskManagerSession();
    m_alive = HostAction::Alive();
  }
  void TearDown() override {
    manager.reset();
    Ostrum::DeferredTaskManager::EndDeferredTaskManagerSession();
    EXPECT_EQ(HostAction::Alive(), m_alive) << "every action is disposed of exactly once";
  }
  HostAction* Action(const std::string& name, HostAction::Hook during = {}) {
    return new HostAction(name, *manager, log, std::move(during));
  }
  /// One undo step named `text` holding the actions, registered oldest first.
  void Step(const wchar_t* text, std::initializer_list<const char*> names) {
    Transaction* tx = manager->BeginTransaction(text, nullptr);
    for (const char* name : names) manager->RegisterAction(Action(name), nullptr);
    tx->Commit();
  }
  static void RunIdle() { Ostrum::Desktop::RunFor(20); }

  std::unique_ptr<Manager> manager = std::make_unique<Manager>();
  CallLog log;
  int m_alive = 0;
};

}  // namespace undo_test
