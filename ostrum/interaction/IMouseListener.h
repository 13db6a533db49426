#pragma once
// IMouseListener: an observer of the pointer events a mouse tool receives.

#include "ostrum/Export.h"
#include "ostrum/foundation/platform/CPoint.h"

class UIWnd;

/// Told by the default UIMouse handlers of the pointer's moves, entries and leaves. A tool does
/// not own its listener; the listener must outlive the tool or be taken away first.
class OSTRUM_API IMouseListener {
 public:
  virtual ~IMouseListener();
  /// `flags` are the button-state bits (MK_*), `point` in `wnd`'s client coordinates.
  virtual void OnMouseMove(UIWnd* wnd, unsigned flags, CPoint point) = 0;
  virtual void OnMouseEnterWindow(UIWnd* wnd) = 0;
  virtual void OnMouseLeaveWindow(UIWnd* wnd) = 0;
};
