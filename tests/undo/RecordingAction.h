#pragma once
// RecordingAction: a test action that writes "perform <name>" or "discard <name>" into a call
// log, can be given something to do when performed or discarded, and counts the instances alive
// so that tests see what was deleted.

#include <functional>
#include <string>

#include "support/CallLog.h"
#include "ostrum/action/IAction.h"

class RecordingAction : public Ostrum::IAction {
 public:
  using Reaction = std::function<void()>;

  RecordingAction(std::string name, CallLog* log, Reaction on_perform = {}, Reaction on_discard = {})
      : m_name(std::move(name)), m_log(log), m_on_perform(std::move(on_perform)), m_on_discard(std::move(on_discard)) {
    ++s_alive;
  }

  /// Instances not yet deleted.
  static int Alive() { return s_alive; }

 protected:
  ~RecordingAction() override { --s_alive; }

  void _Perform() override {
    LogCall(m_log, "perform " + m_name);
    Reaction reaction = std::move(m_on_perform);
    delete this;  // a performed task disposes of itself
    if (reaction) reaction();
  }
  void _Discard() override {
    LogCall(m_log, "discard " + m_name);
    Reaction reaction = std::move(m_on_discard);
    IAction::_Discard();
    if (reaction) reaction();
  }

 private:
  std::string m_name;
  CallLog* m_log;
  Reaction m_on_perform;
  Reaction m_on_discard;
  static inline int s_alive = 0;
};
