#include "ostrum/foundation/geometry/Concat.h"

#include "ostrum/foundation/geometry/MMTransformMatrix.h"

namespace {

// result = t * result, for any kind of transform.
void ApplyAfter(MMTransformMatrix& result, MMTransform const* t) {
  if (!t) return;
  if (MMTransformMatrix const* m = t->AsMatrix()) {
    result.PreMultiply(*m);
    return;
  }
  double e[16];
  t->ConvertDouble16(e);
  Eigen::Matrix4d m;
  for (int r = 0; r < 4; ++r)
    for (int c = 0; c < 4; ++c) m(r, c) = e[4 * r + c];
  result.PreMultiply(MMTransformMatrix(m));
}

}  // namespace

MMTransform* Concat(std::vector<MMTransform*> const& list, MMTransform** extra) {
  auto* result = new MMTransformMatrix();
  ConcatInto(*result, list, extra ? *extra : nullptr);
  return result;
}

void ConcatInto(MMTransformMatrix& result, std::vector<MMTransform*> const& list, MMTransform const* extra) {
  result.MakeIdentity();
  for (auto it = list.rbegin(); it != list.rend(); ++it) ApplyAfter(result, *it);
  if (extra) ApplyAfter(result, extra);
}
