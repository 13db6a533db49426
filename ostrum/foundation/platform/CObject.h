#pragma once
// CObject: the root of the desktop framework's class tree, with run-time class records: a class
// declared with DECLARE_DYNCREATE can be named at run time (its record's name), made from its
// record (CreateObject) and asked whether it derives from another (IsKindOf).

#include <cstddef>

#include "ostrum/Export.h"

class CObject;

/// The run-time record of a framework class.
struct OSTRUM_API CRuntimeClass {
  const char* m_lpszClassName;
  int m_nObjectSize;
  /// Makes an object of the class; null for a class that cannot be made this way.
  CObject* (*m_pfnCreateObject)();
  const CRuntimeClass* (*m_pfnGetBaseClass)();

  /// A new object of the class, owned by the caller; null if the class cannot be made.
  CObject* CreateObject() const { return m_pfnCreateObject ? m_pfnCreateObject() : nullptr; }
  /// Whether the class is `base` or derives from it.
  bool IsDerivedFrom(const CRuntimeClass* base) const;
};

/// Root of the desktop framework's classes; its virtual destructor makes run-time type
/// queries on framework objects possible.
class OSTRUM_API CObject {
 public:
  virtual ~CObject();

  static const CRuntimeClass* GetThisClass();
  /// The record of the object's class.
  virtual const CRuntimeClass* GetRuntimeClass() const;
  bool IsKindOf(const CRuntimeClass* type) const { return GetRuntimeClass()->IsDerivedFrom(type); }

 protected:
  CObject() = default;
  CObject(const CObject&) = default;
  CObject& operator=(const CObject&) = default;
};

#define RUNTIME_CLASS(class_name) (class_name::GetThisClass())

/// In a class's declaration: its run-time record.
#define DECLARE_DYNAMIC(class_name)                      \
 public:                                                 \
  static const CRuntimeClass* GetThisClass();            \
  const CRuntimeClass* GetRuntimeClass() const override;

/// In a class's declaration: its record, and making it from the record.
#define DECLARE_DYNCREATE(class_name) \
  DECLARE_DYNAMIC(class_name)         \
  static CObject* CreateObject();

#define OSTRUM_IMPLEMENT_RUNTIMECLASS(class_name, base_name, create)                               \
  const CRuntimeClass* class_name::GetThisClass() {                                                 \
    static const CRuntimeClass record{#class_name, static_cast<int>(sizeof(class_name)), create,   \
                                      &base_name::GetThisClass};                                    \
    return &record;                                                                                 \
  }                                                                                                 \
  const CRuntimeClass* class_name::GetRuntimeClass() const { return GetThisClass(); }

/// In one source file: the record of `class_name`, derived from `base_name`.
#define IMPLEMENT_DYNAMIC(class_name, base_name) OSTRUM_IMPLEMENT_RUNTIMECLASS(class_name, base_name, nullptr)

/// In one source file: the record of `class_name`, derived from `base_name`, and its making.
#define IMPLEMENT_DYNCREATE(class_name, base_name)                \
  CObject* class_name::CreateObject() { return new class_name; } \
  OSTRUM_IMPLEMENT_RUNTIMECLASS(class_name, base_name, &class_name::CreateObject)
