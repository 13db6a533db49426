#pragma once
// Sent by the host's controller framework (with no sender) right after a controller has become
// the current one. Receivers tell controllers apart by the name of their dynamic type.

#include <typeinfo>

namespace Ostrum {

struct ControllerPostSwitchNotification {
  explicit ControllerPostSwitchNotification(const std::type_info& controller) : m_controller(controller) {}
  /// The dynamic type of the controller that is current now.
  const std::type_info& m_controller;
  const std::type_info& GetControllerType() const { return m_controller; }
};

}  // namespace Ostrum
