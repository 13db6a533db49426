#pragma once
// The notification center: typed notifications from subjects to observers. What stands here
// now is the mark of a sender, which every object of the document carries; the center's
// registry of observers and its delivery join it in this class.

#include "ostrum/Export.h"

namespace Ostrum {

class OSTRUM_API NotificationCenter {
 public:
  /// Base of everything that can send a notification. It holds no data; a subject that dies
  /// is not removed from the center by itself.
  class OSTRUM_API ISubject {
   protected:
    ISubject() = default;
    ISubject(const ISubject&) = default;
    /// Assignment leaves the subject as it is: identity is not copied.
    ISubject& operator=(const ISubject&) { return *this; }
    virtual ~ISubject();
  };
};

}  // namespace Ostrum
