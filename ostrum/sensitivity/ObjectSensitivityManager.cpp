#include "ostrum/sensitivity/ObjectSensitivityManager.h"

#include <algorithm>
#include <utility>

#include "ostrum/foundation/frameadapter/MessageDispatcher.h"
#include "ostrum/foundation/frameadapter/MessageHandlerChain.h"
#include "ostrum/foundation/frameadapter/MessageHandlers.h"
#include "ostrum/foundation/platform/WinMessages.h"
#include "ostrum/interaction/UIWnd.h"
#include "ostrum/notification/ControllerPostSwitchNotification.h"
#include "ostrum/notification/NotificationCenter.h"
#include "ostrum/interaction/IPickable.h"
#include "ostrum/interaction/MPickerPriorityDependent.h"
#include "ostrum/interaction/UIWnd3D.h"

namespace Ostrum {

ObjectSensitivityManager::ObjectSensitivityManager(MFCA::WndMessageHandlerChain& chain)
    : m_dispatcher(new MFCA::WndMessageDispatcher), m_chain(chain) {
  m_dispatcher->SetMessageHandlerFunctor(
      WM_MOUSEMOVE,
      new MFCA::MouseMessageHandler<UIWnd, ObjectSensitivityManager>(*this, &ObjectSensitivityManager::_OnMouseMove));
  m_chain.AppendMessageDispatcher(m_dispatcher);
  NotificationCenter::GetDefaultCenter().AddObserver(this, &ObjectSensitivityManager::_OnControllerSwitched);
}

ObjectSensitivityManager::~ObjectSensitivityManager() {
  m_chain.RemoveMessageDispatcher(m_dispatcher);
  delete m_dispatcher;
  // The center keeps observers by address and calls them without asking: a manager that is
  // gone must not be found there by the next controller switch.
  NotificationCenter::GetDefaultCenter().RemoveObservers<ControllerPostSwitchNotification>(this);
}

bool ObjectSensitivityManager::IsControllerObjectSensitive(const std::string& name) {
  return std::find(m_sensitive_controllers.begin(), m_sensitive_controllers.end(), name) !=
         m_sensitive_controllers.end();
}

void ObjectSensitivityManager::DeactivateLastActiveController() {
  if (!m_last_active_controller.empty()) _DeactivateModeForObject(m_last_active_controller);
  m_last_active_controller.clear();
}

void ObjectSensitivityManager::RegisterMode(const std::string& type_name, Activator on, Deactivator off) {
  m_activators[type_name] = std::move(on);
  m_deactivators[type_name] = std::move(off);
}

bool ObjectSensitivityManager::UnregisterMode(const std::string& type_name) {
  const bool had = m_activators.erase(type_name) != 0;
  return (m_deactivators.erase(type_name) != 0) || had;
}

bool ObjectSensitivityManager::_OnMouseMove(UIWnd& wnd, const CPoint& point) {
  if (!IsObjectSensitivityActive()) return false;
  // Nothing moves the remembered point: only moves to (0, 0) are passed over.
  if (point == m_last_point) return false;
  IPickable* const picked = _PickObject(wnd, point);
  if (!picked) {
    _DeactivateModeForObject(m_last_active_controller);
    m_last_active_controller.clear();
    return false;
  }
  const std::string key = typeid(*picked).name();
  // Off and on again at every move, also over the same class of object.
  _DeactivateModeForObject(m_last_active_controller);
  if (!_ActivateModeForObject(key, *picked)) {
    m_last_active_controller.clear();
    return false;
  }
  m_last_active_controller = key;
  return true;
}

void ObjectSensitivityManager::_OnControllerSwitched(const ControllerPostSwitchNotification& notification) {
  if (!m_turned_on) return;
  if (IsControllerObjectSensitive(notification.m_controller.name()))
    _ActivateObjectSensitivity();
  else
    _DeactivateObjectSensitivity();
}

bool ObjectSensitivityManager::_ActivateModeForObject(const std::string& key, IPickable& object) const {
  const auto found = m_activators.find(key);
  if (found == m_activators.end()) return false;
  found->second(object);
  return true;
}

bool ObjectSensitivityManager::_DeactivateModeForObject(const std::string& key) const {
  const auto found = m_deactivators.find(key);
  if (found == m_deactivators.end()) return false;
  found->second();
  return true;
}

IPickable* ObjectSensitivityManager::_PickObject(UIWnd& wnd, const CPoint& point) {
  // Only a 3D window has something to pick; any other window has nothing under the pointer.
  auto* const wnd3d = dynamic_cast<UIWnd3D*>(&wnd);
  if (!wnd3d) return nullptr;
  MPickerPriorityDependent picker(wnd3d);
  picker.SetPickCoordinates(point.x, point.y);
  picker.Operate();
  return picker.GetPickedObject();
}

}  // namespace Ostrum
