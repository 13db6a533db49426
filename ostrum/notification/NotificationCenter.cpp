#include "ostrum/notification/NotificationCenter.h"

namespace Ostrum {

// Out of line so that the subject mark has one home for its type information.
NotificationCenter::ISubject::~ISubject() = default;

}  // namespace Ostrum
