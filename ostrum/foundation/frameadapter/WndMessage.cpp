#include "ostrum/foundation/frameadapter/WndMessage.h"

#include "ostrum/foundation/platform/WinMessages.h"

namespace MFCA {

bool WndMessageTraitsBase::ProcessResult(const WndMessage& message, bool handled) {
  if (!handled) return false;
  switch (message.GetMessage()) {
    case WM_SETCURSOR:  // the cursor is set: the parents are not asked
    case WM_ERASEBKGND:
      message.SetResult(TRUE);
      break;
    case WM_MOUSEACTIVATE:
      message.SetResult(MA_ACTIVATE);
      break;
    default:
      message.SetResult(0);
      break;
  }
  return true;
}

}  // namespace MFCA
