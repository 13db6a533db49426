#pragma once
// Ostrum::IOldApplicationController: the host's way of keeping an older mouse-state interface
// alive beside the mouse handler. The host implements it and hands it to its document
// (MDocument::_GetMouseCompatibilityProvider().SetOldApplicationController); nothing in the
// framework implements it.

#include <cstdint>

#include "ostrum/Export.h"

class MOperation;
class MOperationState;
class UIMouseHandler;

namespace Ostrum {

class OSTRUM_API IOldApplicationController {
 public:
  virtual ~IOldApplicationController();
  virtual UIMouseHandler* GetMouseHandler() = 0;
  virtual bool SelectMouseState(MOperationState* state) = 0;
  virtual bool RevertMouseState() = 0;
  virtual uint32_t GetCurrentMouseState() const = 0;
  virtual void MatchMouseStateToDatabase() = 0;
  virtual void DetachObjectFromMouse(MOperation* operation) = 0;
};

}  // namespace Ostrum
