#pragma once
// ISAXPersistHelper: an element handler with no identity of its own in a file.

#include "ostrum/Export.h"
#include "ostrum/foundation/markup/ISAXPersist.h"

/// Handles an element on behalf of something else (a child list for its object, say): the
/// reader enters no reference number for it.
class OSTRUM_API ISAXPersistHelper : public ISAXPersist {
 public:
  ~ISAXPersistHelper() override;
  /// Null: a helper is nothing a file can refer to.
  ISAXReference* GetObjectReference() override { return nullptr; }
};
