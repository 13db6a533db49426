#pragma once
// CObject: the root of the desktop framework's class tree.

#include "ostrum/Export.h"

/// Root of the desktop framework's classes; its virtual destructor makes run-time type
/// queries on framework objects possible.
class OSTRUM_API CObject {
 public:
  virtual ~CObject();

 protected:
  CObject() = default;
  CObject(const CObject&) = default;
  CObject& operator=(const CObject&) = default;
};
