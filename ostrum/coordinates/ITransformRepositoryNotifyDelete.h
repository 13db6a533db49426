#pragma once
// ITransformRepositoryNotifyDelete: a listener that hears when the process-wide repository of
// coordinate systems goes and when a new one comes. Holders of MCoordinateSystem handles that
// must outlive a repository drop them on TransformRepositoryWasDeleted: a handle that outlives
// its repository is invalid.

#include "ostrum/Export.h"

class OSTRUM_API ITransformRepositoryNotifyDelete {
 public:
  virtual ~ITransformRepositoryNotifyDelete();

  /// A repository is being destroyed: its unreferenced systems are gone, the root is still
  /// there. Drop every handle now.
  virtual void TransformRepositoryWasDeleted() = 0;
  /// A new process-wide repository exists (MTransformRepositoryEx::CreateInstance).
  virtual void TransformRepositoryWokeUpAgain() = 0;
};
