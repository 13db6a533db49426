#pragma once
// Concat: the composition of a chain of transforms, as the transform query builds it along a
// path of coordinate systems.

#include <vector>

#include "ostrum/Export.h"
#include "ostrum/foundation/geometry/MMTransform.h"

class MMTransformMatrix;

/// A new transform, owned by the caller, that applies the transforms of `list` from the last to
/// the first and then `*extra` if `extra` is not null: for a list a, b, c the result is
/// extra * a * b * c, so c acts first. The list thus names a path's transforms from the far end
/// to the near end, and `extra` is what follows at the far end. An empty list and a null `extra`
/// give the identity; null entries count as the identity. The result is a MMTransformMatrix;
/// transforms that are no matrix enter through their sixteen elements.
OSTRUM_API MMTransform* Concat(std::vector<MMTransform*> const& list, MMTransform** extra);
/// The same composition written into `result`, which is made the identity first; nothing is
/// allocated. `extra` may be null.
OSTRUM_API void ConcatInto(MMTransformMatrix& result, std::vector<MMTransform*> const& list, MMTransform const* extra);
