#pragma once
// UIWnd: the base of every window in which the user works with the mouse tools. What is here is
// what the tools and their handler ask of a window; the window's own turning of raw messages
// into handler calls builds on it.

#include "ostrum/Export.h"
#include "ostrum/foundation/platform/CPoint.h"
#include "ostrum/foundation/platform/CWnd.h"

class CMenu;
class UIMouse;

class OSTRUM_API UIWnd : public CWnd {
 public:
  ~UIWnd() override;

  /// Whether this window lets `mouse` have its events; a refused tool gets none and the user
  /// sees the not-supported cursor. The default accepts every tool.
  virtual bool IsMouseSupported(UIMouse& mouse) const;
  /// Told of every pointer move over this window for `mouse`, before the support test. The
  /// default does nothing.
  virtual void MouseIsMoving(UIMouse& mouse);
  /// Adds the window's own items to a context menu, behind those of `mouse`; `point` in client
  /// coordinates. The default adds none.
  virtual void OnAppendMenu(UIMouse& mouse, CMenu& menu, CPoint point);
  /// Shows the not-supported cursor (IDC_NO).
  virtual void SetCursorMouseNotSupported();
};
