#pragma once
// MOperationContext: what a command applies to: the active window, the active mouse tool and
// the objects chosen.

#include <vector>

#include "ostrum/Export.h"

class CWnd;
class UIMouse;
class UIObject;

class OSTRUM_API MOperationContext {
 public:
  MOperationContext() = default;
  MOperationContext(const MOperationContext&) = default;
  MOperationContext& operator=(const MOperationContext&) = default;
  virtual ~MOperationContext();

  /// Appends `object` without looking for duplicates. Not owned.
  void AddObject(UIObject* object) { m_objects.push_back(object); }
  const std::vector<UIObject*>& GetObjects() const { return m_objects; }
  const CWnd* GetActiveWindow() const { return m_active_window; }
  void SetActiveWindow(const CWnd* window) { m_active_window = window; }
  const UIMouse* GetActiveMouse() const { return m_active_mouse; }
  void SetActiveMouse(const UIMouse* mouse) { m_active_mouse = mouse; }

 private:
  const CWnd* m_active_window = nullptr;
  const UIMouse* m_active_mouse = nullptr;
  std::vector<UIObject*> m_objects;
};
