#pragma once
// ManagerCore: the history a public manager forwards to, with its place in a substitution
// chain.

#include "ostrum/undo/private/Controller.h"

namespace Ostrum::Undo::Private {

/// Made and destroyed by the public manager named in `m_manager`. While it stands in front of
/// other cores (m_substituted not null), every public manager of the chain forwards to it.
class ManagerCore {
 public:
  explicit ManagerCore(Manager* manager) : m_manager(manager), m_controller(manager) {}

  Manager* const m_manager;               // the public manager that made this core
  Controller m_controller;
  ManagerCore* m_substituted = nullptr;   // the next core down the chain, null when none
};

}  // namespace Ostrum::Undo::Private
