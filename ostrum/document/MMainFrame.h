#pragma once
// MMainFrame: the host's main frame window, which receives every operation that asks for a
// frame update.

#include "ostrum/Export.h"
#include "ostrum/foundation/platform/CFrameWnd.h"

class MOperation;

class OSTRUM_API MMainFrame : public CFrameWnd {
 public:
  ~MMainFrame() override;

  /// Told of an operation whose flags ask for a frame update; `param` is the caller's of
  /// DoOperation. Empty by default.
  virtual void DoUpdateUI(MOperation& operation, void* param);
};
