#pragma once
// ISAXReference: the identity of something that a markup file can refer to.

#include "ostrum/Export.h"

/// Something that can be referred to in a file. It holds no data: the address of this part is
/// the identity, and the writer numbers it when it writes it. Objects take it as a virtual
/// base, so that an object reached through several interfaces has exactly one identity.
class OSTRUM_API ISAXReference {
 public:
  virtual ~ISAXReference();
};
