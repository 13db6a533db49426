#pragma once
// MDefinedObject: records the objects that define this one, the objects whose changes it
// follows. Costs one null pointer until the first defining object is attached.

#include <cstddef>
#include <vector>

#include "ostrum/Export.h"
#include "ostrum/foundation/markup/ISAXReference.h"

class OSTRUM_API MDefinedObject : public virtual ISAXReference {
 public:
  MDefinedObject() = default;
  /// A copy starts with no defining objects: links are not copied.
  MDefinedObject(const MDefinedObject&) : ISAXReference() {}
  /// Assignment keeps this object's own list.
  MDefinedObject& operator=(const MDefinedObject&) { return *this; }

  /// Appends `object` unless it is already in the list. Not owned.
  virtual void AttachDefiningObject(MDefinedObject* object);
  /// Removes the first occurrence of `object`; frees the list when it becomes empty.
  virtual void DetachDefiningObject(MDefinedObject* object);
  /// Empties and frees the list. Nobody is informed.
  virtual void DetachAllDefiningObjects();
  /// True by default.
  virtual bool IsDefined() const { return true; }
  /// False by default.
  virtual bool IsOverDefined() const { return false; }
  /// False by default.
  virtual bool IsUnderDefined() const { return false; }
  /// Frees the list only; the defining objects are not told.
  ~MDefinedObject() override;

  /// Number of defining objects, 0 without a list.
  size_t GetNumberOfDefiningObjects() const { return m_defining ? m_defining->size() : 0; }
  /// The defining object at `index`, null without a list; the index is not checked.
  MDefinedObject* GetDefiningObject(size_t index) { return m_defining ? (*m_defining)[index] : nullptr; }
  const MDefinedObject* GetDefiningObject(size_t index) const {
    return m_defining ? (*m_defining)[index] : nullptr;
  }

 private:
  std::vector<MDefinedObject*>* m_defining = nullptr;
};
