// The message map of the forwarding view.

#include "ToolSupport.h"

BEGIN_MESSAGE_MAP(ForwardingWnd, TestWnd)
  ON_WM_LBUTTONDOWN()
  ON_WM_LBUTTONUP()
  ON_WM_MOUSEMOVE()
  ON_WM_RBUTTONDOWN()
  ON_WM_RBUTTONUP()
  ON_WM_CONTEXTMENU()
  ON_WM_CAPTURECHANGED()
END_MESSAGE_MAP()
