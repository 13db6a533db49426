#pragma once
// IMSceneOwner: whoever a host makes responsible for a scene; the framework only keeps the
// pointer and hands it back.

#include "ostrum/Export.h"

class OSTRUM_API IMSceneOwner {
 public:
  virtual ~IMSceneOwner();

 protected:
  IMSceneOwner() = default;
  IMSceneOwner(const IMSceneOwner&) = default;
  IMSceneOwner& operator=(const IMSceneOwner&) = default;
};
