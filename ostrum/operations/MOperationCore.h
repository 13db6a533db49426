#pragma once
// MOperationCore: the value part of an operation, its action number and the objects it acts on.

#include <cstddef>
#include <cstdint>
#include <vector>

#include "ostrum/Export.h"

class CWnd;
class IObject;

class OSTRUM_API MOperationCore {
 public:
  MOperationCore() = default;
  /// Copies the action and the objects; the window is not copied.
  MOperationCore(const MOperationCore& other) : m_action(other.m_action), m_objects(other.m_objects) {}
  /// Takes the action and the objects; the window stays.
  MOperationCore& operator=(const MOperationCore& other) {
    m_action = other.m_action;
    m_objects = other.m_objects;
    return *this;
  }
  virtual ~MOperationCore();

  uint32_t GetAction() const { return m_action; }
  size_t GetNumObjects() const { return m_objects.size(); }
  /// The object at `index`; the index is not checked.
  IObject* GetObjectW(size_t index) const { return m_objects[index]; }
  /// The window the operation concerns, or null; opaque to the operation.
  CWnd* GetWindow() const { return m_window; }
  void SetWindow(CWnd* window) { m_window = window; }
  /// Same action, same count of objects and the same pointer at every index.
  bool IsEqual(MOperationCore& other) const {
    return m_action == other.m_action && m_objects == other.m_objects;
  }

 private:
  friend class MOperation;
  uint32_t m_action = 0xFFFFFFFF;
  std::vector<IObject*> m_objects;
  CWnd* m_window = nullptr;
};
