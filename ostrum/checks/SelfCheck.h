#pragma once
// Ostrum::SelfCheck: the framework's built-in checks of the repository of coordinate systems
// and of the camera, for a host to run at start-up (or in a support dialog). They run on a
// scratch repository and camera of their own, set up and torn down within the call: the host's
// repository, documents, cameras and listeners are neither used nor told anything.

#include <string>
#include <vector>

#include "ostrum/Export.h"

namespace Ostrum {

/// One check: its name, whether it passed, and for a failure what was expected and found.
struct SelfCheckResult {
  std::wstring name;
  bool passed = false;
  std::wstring failure;
};

class OSTRUM_API SelfCheck {
 public:
  /// Runs every check, in a fixed order; the same results on every run of a sound build.
  static std::vector<SelfCheckResult> Run();
  /// Whether every result passed.
  static bool AllPassed(const std::vector<SelfCheckResult>& results);
};

}  // namespace Ostrum
