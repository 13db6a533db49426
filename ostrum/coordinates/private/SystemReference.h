#pragma once
// Reading a reference to a coordinate system: while a file is read, a node pointer field holds
// the number of the reference, and once the whole file is in, the node itself.

#include <cstdint>

class ISAXPersist;
class MSAXReader;
class MTransformRepositoryCoordinateSystem;

namespace Ostrum::Private {

/// Reads the element's text as a reference number into `field` and asks for `owner`'s
/// ResolveReferences. False for an empty text; a text that is no number refuses the file.
bool ReadSystemReference(MSAXReader& reader, MTransformRepositoryCoordinateSystem*& field, ISAXPersist* owner);
/// Replaces the number in `field` by the node entered under it. False (the field untouched) for
/// 0 and for a number under which no coordinate system stands.
bool ResolveSystemReference(MSAXReader& reader, MTransformRepositoryCoordinateSystem*& field);
/// The number a field holds while it is read.
inline std::uint32_t ReferenceNumber(MTransformRepositoryCoordinateSystem const* field) {
  return static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(field));
}

}  // namespace Ostrum::Private
