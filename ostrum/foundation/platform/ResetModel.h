#pragma once
// Putting the desktop model back to its starting state between tests, so that no test depends
// on what ran before it. Headless use only.

#include "ostrum/Export.h"

namespace Ostrum::Desktop::Testing {

/// Destroys the calling thread's windows (message-only windows stay: they are the machinery of
/// sessions that outlive a test, such as the deferred-task window); clears capture, focus,
/// the active and foreground windows, the queued input and an unretrieved quit request; puts
/// the cursor at (0, 0) with the arrow shape, every key and button up, the buttons unswapped
/// and the headless screen at 1920 by 1080; forgets the headless backend's modal responder and
/// its log; runs the resets the model's other tables registered. Modal loops still running
/// are ended. The clock stays as it is: it never goes back.
OSTRUM_API void ResetModel();

}  // namespace Ostrum::Desktop::Testing
