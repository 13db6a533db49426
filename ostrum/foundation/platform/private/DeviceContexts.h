#pragma once
// The device context table's entries for painting: BeginPaint makes a paint DC, EndPaint gives it
// back; and the hook by which the framework's CDC objects for a handle are dropped.

#include "ostrum/foundation/platform/WinTypes.h"

namespace Ostrum::Desktop::Private {

/// A DC on the client area of `hwnd` that touches only `paint` (client coordinates); null for no
/// window.
HDC MakePaintDC(HWND hwnd, const RECT& paint);
/// Called when a DC is given back: the CDC objects standing in for it (CDC::FromHandle) are
/// dropped on the calling thread.
void ForgetDeviceContextWrapper(HDC hdc);

}  // namespace Ostrum::Desktop::Private
