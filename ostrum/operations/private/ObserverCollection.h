#pragma once
// Collection of the observers of an operation's objects into a caller's buffer, so that the
// pipeline's publish stage can gather them on the stack instead of the heap.

#include <boost/container/small_vector.hpp>

class IObserver;
class MOperation;

namespace Ostrum::Private {

/// Appends the observers of `operation`'s objects to `list`, without duplicates, in order of
/// first sight (what MOperation::GetObservers gives).
void CollectObservers(const MOperation& operation, boost::container::small_vector_base<IObserver*>& list);

}  // namespace Ostrum::Private
