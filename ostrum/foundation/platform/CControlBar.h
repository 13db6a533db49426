#pragma once
// CControlBar and CToolBar: the bars of a frame window. A frame finds its bars by their control
// id (CFrameWnd::GetControlBar); the main toolbar has AFX_IDW_TOOLBAR. Docking is fixed: a
// toolbar sits along the top of its frame's client area and never floats.

#include "ostrum/Export.h"
#include "ostrum/foundation/platform/CWnd.h"
#include "ostrum/foundation/platform/ImageList.h"
#include "ostrum/foundation/platform/WindowStyles.h"

constexpr UINT AFX_IDW_TOOLBAR = 0xE800;
constexpr UINT AFX_IDW_PANE_FIRST = 0xE900;

/// A bar along an edge of a frame window.
class OSTRUM_API CControlBar : public CWnd {
 public:
  ~CControlBar() override;
};

/// A toolbar: a ToolbarWindow32 control (Toolbar.h) with an image list of its own, which the
/// object owns and destroys with itself.
class OSTRUM_API CToolBar : public CControlBar {
 public:
  ~CToolBar() override;

  /// Makes the toolbar window as a child of `parent` with the control id `id`, across the top of
  /// the parent's client area, with an empty image list of 16 by 15 images. FALSE if the
  /// object has a window already or the window cannot be made.
  BOOL CreateEx(CWnd* parent, DWORD control_style = 0, DWORD style = WS_CHILD | WS_VISIBLE, UINT id = AFX_IDW_TOOLBAR);
  /// Replaces the buttons and images with the toolbar resource `id` and the bitmap resource of
  /// the same number from the application's resources: images of the resource's size, grey
  /// tones mapped to the system's button colours, a separator for each 0. FALSE if either
  /// resource is missing (the toolbar is left as it was).
  BOOL LoadToolBar(UINT id);
  /// The number of buttons, separators included.
  int GetCount() const;
  /// The toolbar's image list (TB_GETIMAGELIST).
  HIMAGELIST GetImageList() const;

 private:
  HIMAGELIST m_images = nullptr;
};
