#pragma once
// What the model does with CWnd objects from inside: attaching the object being created to
// its new window before the first message, routing its messages through AfxWndProc, and
// letting go when the window is gone. CWnd names this struct its friend.

#include "ostrum/foundation/platform/WinTypes.h"

class CWnd;

namespace Ostrum::Desktop::Private {

struct CWndLink {
  /// CWnd::CreateEx parks the object here for the window it is about to create.
  static void SetCreating(CWnd* object);
  /// The parked object, taken: it belongs to the first window created after it was parked.
  static CWnd* TakeCreating();
  /// Attaches the object to a new window and makes AfxWndProc the window's procedure, keeping
  /// the class procedure as the object's default handling.
  static void AttachNew(CWnd& object, HWND hwnd);
  /// The window has left the table: the object (permanent or temporary) lets go of it.
  static void WindowGone(HWND hwnd, CWnd* permanent);
};

}  // namespace Ostrum::Desktop::Private
