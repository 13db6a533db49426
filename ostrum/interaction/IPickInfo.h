#pragma once
// IPickInfo: what a pickable object attaches to one of its hits, for the caller of the pick to
// read back (the triangle hit, the part of an object, a handle on a tool). Its content is the
// host's; the picker only keeps it with the hit and deletes it, so a record handed to a picker
// belongs to the picker from then on.

#include "ostrum/Export.h"

class OSTRUM_API IPickInfo {
 public:
  virtual ~IPickInfo();
};
