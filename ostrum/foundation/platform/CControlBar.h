#pragma once
// CControlBar: a bar that a frame window docks on one of its edges (toolbars, dialog bars), and
// CToolBar. Docking is fixed: a bar lies on the edge its frame docked it to and never floats. A
// frame finds its bars by their control id (CFrameWnd::GetControlBar); the main toolbar has
// AFX_IDW_TOOLBAR and sits along the top of its frame's client area.

#include "ostrum/Export.h"
#include "ostrum/foundation/platform/CWnd.h"
#include "ostrum/foundation/platform/ImageList.h"
#include "ostrum/foundation/platform/WindowStyles.h"

class CFrameWnd;
class CControlBar;

// Bar styles.
constexpr DWORD CBRS_ALIGN_LEFT = 0x1000;
constexpr DWORD CBRS_ALIGN_TOP = 0x2000;
constexpr DWORD CBRS_ALIGN_RIGHT = 0x4000;
constexpr DWORD CBRS_ALIGN_BOTTOM = 0x8000;
constexpr DWORD CBRS_ALIGN_ANY = 0xF000;
constexpr DWORD CBRS_BORDER_LEFT = 0x0100;
constexpr DWORD CBRS_BORDER_TOP = 0x0200;
constexpr DWORD CBRS_BORDER_RIGHT = 0x0400;
constexpr DWORD CBRS_BORDER_BOTTOM = 0x0800;
// The frame's dock bars, as control ids of the edges.
constexpr UINT AFX_IDW_DOCKBAR_TOP = 0xE81B;
constexpr UINT AFX_IDW_DOCKBAR_LEFT = 0xE81C;
constexpr UINT AFX_IDW_DOCKBAR_RIGHT = 0xE81D;
constexpr UINT AFX_IDW_DOCKBAR_BOTTOM = 0xE81E;
/// The id of the frame's main toolbar.
constexpr UINT AFX_IDW_TOOLBAR = 0xE800;
/// The id of the frame's client pane (the view), which gets what the bars leave.
constexpr UINT AFX_IDW_PANE_FIRST = 0xE900;

/// The docking state of a bar that may be docked; made by EnableDocking and owned by the bar.
class OSTRUM_API CDockContext {
 public:
  explicit CDockContext(CControlBar* bar) : m_pBar(bar) {}
  CControlBar* m_pBar;
};

class OSTRUM_API CControlBar : public CWnd {
 public:
  CControlBar() = default;
  /// Deletes the dock context if the bar still has one.
  ~CControlBar() override;

  /// Lets the bar be docked on the edges of `dock_style` (CBRS_ALIGN_*); makes the dock
  /// context if there is none. 0 forbids docking (the context stays).
  void EnableDocking(DWORD dock_style);
  /// The frame that docks the bar: the frame it was docked into, else the first frame among
  /// its parents, else the thread's main window if that is a frame; null if none.
  CFrameWnd* GetDockingFrame() const;
  /// The bar's CBRS_ style.
  DWORD GetBarStyle() const { return m_dwStyle; }
  void SetBarStyle(DWORD style) { m_dwStyle = style; }
  /// The bar's window exists and is shown.
  BOOL IsVisible() const;
  /// The bar's height (a bottom or top bar) or width (a side bar) when docked.
  virtual int GetDockedExtent() const { return m_extent; }

  /// The frame the bar is docked into (set by CFrameWnd::DockControlBar), or null.
  CFrameWnd* m_pDockSite = nullptr;
  /// Made by EnableDocking; whoever takes the bar out of docking deletes it and clears this.
  CDockContext* m_pDockContext = nullptr;
  DWORD m_dwStyle = 0;
  DWORD m_dwDockStyle = 0;
  /// The dock bar id of the edge the bar is docked to; 0 while not docked.
  UINT m_nDockBarID = 0;

 protected:
  int m_extent = 0;
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
