#pragma once
// Roots of the desktop framework's class tree: CObject, and CCmdTarget for what receives
// commands.

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

/// A framework object that can receive commands (documents, windows, the application).
class OSTRUM_API CCmdTarget : public CObject {
 public:
  ~CCmdTarget() override;
};
