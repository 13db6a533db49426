#pragma once
// Object sensitivity: while the feature is in force, every mouse move in a 3D window picks the
// object under the pointer, and the class of that object decides which interaction mode is on.
// Moving onto an object of another class switches the last class's mode off and the new one
// on; moving onto nothing switches the last one off. The manager sits in the application's
// window message chain, so it sees each move before the window's own handling and claims the
// moves it switched a mode for. There is no timer: everything happens inside the move.
//
// A mode is a pair of functions the host registers under a class's type name (RegisterMode).
// The feature is bound to the current controller: the host names the controllers under which
// it is meaningful, and ControllerPostSwitchNotification tells the manager which one is current.
// Type names are `std::type_info::name()` of the dynamic type on both sides of each lookup.

#include <map>
#include <set>
#include <string>
#include <typeinfo>
#include <utility>

#include <boost/function.hpp>

#include "ostrum/Export.h"
#include "ostrum/foundation/platform/CPoint.h"

class IPickable;
class UIWnd;

namespace MFCA {
class WndMessageDispatcher;
class WndMessageHandlerChain;
}  // namespace MFCA

namespace Ostrum {

struct ControllerPostSwitchNotification;

class OSTRUM_API ObjectSensitivityManager {
 public:
  using Activator = boost::function<void(IPickable&)>;
  using Deactivator = boost::function<void()>;

  /// Joins `chain` (which must outlive the manager) with a dispatcher for mouse moves and
  /// listens for controller switches at the default notification center.
  explicit ObjectSensitivityManager(MFCA::WndMessageHandlerChain& chain);
  /// Leaves the chain and stops listening. A mode that is on stays on.
  ~ObjectSensitivityManager();
  // The manager owns its dispatcher and is registered by address: a copy could not stand
  // beside its source.
  ObjectSensitivityManager(const ObjectSensitivityManager&) = delete;
  ObjectSensitivityManager& operator=(const ObjectSensitivityManager&) = delete;

  /// The master switch. Turning it off leaves a mode that is on as it is; moves are simply
  /// no longer handled.
  void SwitchObjectSensitivityState(bool on) { m_turned_on = on; }
  bool IsObjectSensitivityTurnedOn() const { return m_turned_on; }
  /// Turned on, and the current controller is one of the sensitive ones.
  bool IsObjectSensitivityActive() const { return m_turned_on && m_active; }

  bool IsControllerObjectSensitive(const std::string& name);
  void AddObjectSensitiveController(const std::string& name) { m_sensitive_controllers.insert(name); }
  void RemoveObjectSensitiveController(const std::string& name) { m_sensitive_controllers.erase(name); }
  /// Controllers named by their class.
  template <class Controller>
  void AddObjectSensitiveController() { AddObjectSensitiveController(typeid(Controller).name()); }
  template <class Controller>
  void RemoveObjectSensitiveController() { RemoveObjectSensitiveController(typeid(Controller).name()); }

  /// Switches off the mode that is on, if any; safe to repeat.
  void DeactivateLastActiveController();

  /// The mode of the objects whose dynamic type is named `type_name`: `on` runs with the
  /// object the pointer came onto, `off` when it leaves it. Either may be left empty; an empty
  /// function that has to run throws boost::bad_function_call through the message handling.
  /// Registering again replaces the pair.
  void RegisterMode(const std::string& type_name, Activator on, Deactivator off);
  /// The same for the class `Object` (a pickable class of the host).
  template <class Object>
  void RegisterMode(Activator on, Deactivator off) { RegisterMode(typeid(Object).name(), std::move(on), std::move(off)); }
  /// One half of a mode, stored as given (an empty function included).
  void SetActivator(const std::string& type_name, Activator on) { m_activators[type_name] = std::move(on); }
  void SetDeactivator(const std::string& type_name, Deactivator off) { m_deactivators[type_name] = std::move(off); }
  /// Forgets the mode of `type_name`; false if there was none.
  bool UnregisterMode(const std::string& type_name);
  /// The key of the mode that is on now; empty if none.
  const std::string& GetLastActiveController() const { return m_last_active_controller; }

 private:
  bool _OnMouseMove(UIWnd& wnd, const CPoint& point);
  void _OnControllerSwitched(const ControllerPostSwitchNotification& notification);
  bool _ActivateModeForObject(const std::string& key, IPickable& object) const;
  bool _DeactivateModeForObject(const std::string& key) const;
  void _ActivateObjectSensitivity() { m_active = true; }
  void _DeactivateObjectSensitivity() { m_active = false; }
  IPickable* _PickObject(UIWnd& wnd, const CPoint& point);

  std::map<std::string, Activator> m_activators;
  std::map<std::string, Deactivator> m_deactivators;
  std::set<std::string> m_sensitive_controllers;
  CPoint m_last_point{0, 0};
  std::string m_last_active_controller;
  MFCA::WndMessageDispatcher* m_dispatcher;
  MFCA::WndMessageHandlerChain& m_chain;
  bool m_active = false;
  bool m_turned_on = true;
};

}  // namespace Ostrum
