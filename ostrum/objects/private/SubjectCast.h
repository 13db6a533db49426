#pragma once
// A fast road from an IObject to its MSubject part, for the hot loops of the operation
// pipeline, which look at every object of every operation for observers.
//
// A cross-cast by dynamic_cast through the objects' virtual bases costs tens of nanoseconds.
// The distance from an IObject subobject to the MSubject subobject of the same object is fixed
// by the object's complete type and by which IObject subobject it is, and under the platform's
// C++ ABI exactly these two determine the virtual table pointer that the IObject subobject
// holds. So the answer of dynamic_cast is kept per virtual table pointer, in a small
// direct-mapped cache of the thread, and a hit costs a load and a compare.

#include <cstddef>
#include <cstdint>

#include "ostrum/objects/IObject.h"
#include "ostrum/objects/MSubject.h"

namespace Ostrum::Private {

class SubjectCast {
 public:
  struct Entry;

  /// The MSubject part of `object`, null if it has none. `object` must be fully constructed.
  static MSubject* Of(IObject* object) { return Of(object, ThreadCache()); }
  /// The same through the thread's cache as ThreadCache answered it: a loop over many objects
  /// looks the thread-local cache up once instead of once per object.
  static MSubject* Of(IObject* object, Entry* cache) {
    const void* vptr = *reinterpret_cast<const void* const*>(object);
    Entry& entry = cache[(reinterpret_cast<uintptr_t>(vptr) >> 4) & (kSize - 1)];
    if (entry.vptr != vptr) {
      MSubject* subject = dynamic_cast<MSubject*>(object);
      entry.vptr = vptr;
      entry.offset = subject ? reinterpret_cast<char*>(subject) - reinterpret_cast<char*>(object) : kNone;
      return subject;
    }
    return entry.offset == kNone ? nullptr
                                 : reinterpret_cast<MSubject*>(reinterpret_cast<char*>(object) + entry.offset);
  }
  /// The calling thread's cache, valid for the life of the thread.
  static Entry* ThreadCache() { return tl_cache; }

  struct Entry {
    const void* vptr = nullptr;
    ptrdiff_t offset = kNone;
  };

 private:
  static constexpr size_t kSize = 64;
  static constexpr ptrdiff_t kNone = PTRDIFF_MIN;
  static thread_local Entry tl_cache[kSize];
};

}  // namespace Ostrum::Private
