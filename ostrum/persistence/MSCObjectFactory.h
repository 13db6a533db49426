#pragma once
// Ostrum::MSCObjectFactory: turns the tag of an element into a new object, as a host's reader
// meets the elements of its objects in a project file.
//
// Creators are registered per tag, either for any parent element (the default creator) or for
// one parent tag; the one for the exact parent wins. The registry is one per process, guarded
// by a lock that its own thread may take again, so that modules register from any thread and a
// creator may call back into the factory. The framework registers no creator itself and never
// creates objects by tag: a host's reader does.

#include <string>

#include <boost/function.hpp>

#include "ostrum/Export.h"
#include "ostrum/foundation/markup/ISAXPersist.h"

namespace Ostrum {

class OSTRUM_API MSCObjectFactory {
 public:
  using Creator = boost::function<ISAXPersist*()>;

  MSCObjectFactory() = delete;

  /// The parent tag that means "any parent": the empty text.
  static std::wstring const& AnyParentTag();
  /// Registers `creator` for elements `tag` inside `parent_tag` (AnyParentTag: inside any
  /// parent without a creator of its own), replacing one registered before for the same pair.
  static void RegisterCreatorForTag(Creator creator, std::wstring const& tag, std::wstring const& parent_tag);
  /// Removes the creator of the pair, if there is one; a tag left without creators is forgotten.
  static void UnregisterCreatorForTag(std::wstring const& tag, std::wstring const& parent_tag);
  /// A new object for `tag` inside `parent_tag`, made by the creator for that parent or else by
  /// the default one; null when there is none. The caller owns the object. An exception of the
  /// creator passes to the caller (the lock is released on the way).
  static ISAXPersist* CreateObjectForTag(std::wstring const& tag, std::wstring const& parent_tag);
};

}  // namespace Ostrum
