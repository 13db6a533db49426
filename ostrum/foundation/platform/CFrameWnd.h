#pragma once
// CFrameWnd: a main or child frame window, which knows its active view, lays out the control
// bars docked on its edges, keeps the accelerator table of its commands and answers its
// tool-tips' requests for text.

#include <vector>

#include "ostrum/Export.h"
#include "ostrum/foundation/platform/Accelerator.h"
#include "ostrum/foundation/platform/CString.h"
#include "ostrum/foundation/platform/CWnd.h"

class CControlBar;
class CView;
struct NMHDR;
class CControlBar;

class OSTRUM_API CFrameWnd : public CWnd {
  DECLARE_DYNAMIC(CFrameWnd)
 public:
  ~CFrameWnd() override;

  /// The view that has the focus in this frame, or null. Not owned.
  CView* GetActiveView() const { return m_active_view; }
  void SetActiveView(CView* view) { m_active_view = view; }
  /// The bar among the frame's child windows whose control id is `id` (AFX_IDW_TOOLBAR for the
  /// main toolbar) and whose object is a CControlBar; null if there is none.
  CControlBar* GetControlBar(UINT id) const;

  /// The text of command `id` ("prompt\ntip"); empty here, as the model keeps no string
  /// resources at this level: frames that have them override it.
  virtual void GetMessageString(UINT id, CString& message) const;

  /// The frame's accelerator table (null: none). The frame does not destroy it.
  HACCEL m_hAccelTable = nullptr;

  // --- docking (CFrameWndDocking.cpp) ---
  /// Lets bars dock on the edges of `dock_style` (CBRS_ALIGN_*).
  void EnableDocking(DWORD dock_style) { m_dock_style = dock_style; }
  /// Docks `bar` on the edge of the dock bar `dock_bar_id` (AFX_IDW_DOCKBAR_*; 0 picks the
  /// first edge the bar allows): the bar's window becomes a child of this frame and the frame
  /// lays out again. `rect` is not used (docking is fixed). Not owned.
  void DockControlBar(CControlBar* bar, UINT dock_bar_id = 0, const RECT* rect = nullptr);
  /// Shows or hides `bar` and lays out again; `delay` is not used (the layout is immediate).
  void ShowControlBar(CControlBar* bar, BOOL show, BOOL delay);
  /// Forgets `bar` as a docked bar of this frame and lays out again; the bar's window stays.
  void RemoveControlBar(CControlBar* bar);
  /// The bars docked in this frame, in docking order.
  const std::vector<CControlBar*>& GetControlBars() const { return m_bars; }
  /// Puts the visible docked bars on their edges, the first docked outermost, and gives the
  /// rest of the client area to the pane AFX_IDW_PANE_FIRST if there is one.
  virtual void RecalcLayout(BOOL notify = TRUE);

 protected:
  /// A tool-tip's request for text (TTN_NEEDTEXTW or TTN_NEEDTEXTA): the tip of the tool's
  /// command (its control id when the tool is named by its window), the part of its message
  /// string behind the first line feed, at most 79 characters or bytes; the tool-tip is brought
  /// to the top. Answers TRUE, with the result 0.
  BOOL OnToolTipText(UINT id, NMHDR* header, LRESULT* result);
  /// Copies `tip` into a tool-tip's request: the wide form at most 79 characters, the narrow one
  /// at most 79 bytes of whole characters, each ended by a zero.
  static void CopyToolTipText(NMHDR& header, const std::wstring& tip);
  /// The tip of a command's message string: what stands behind its first line feed (nothing
  /// without one).
  static std::wstring ToolTipOf(const std::wstring& message);
  /// The flags of a tool-tip's request, in the wide or the narrow form.
  static UINT ToolTipFlags(const NMHDR& header);

 private:
  CView* m_active_view = nullptr;
  std::vector<CControlBar*> m_bars;
  DWORD m_dock_style = 0;
};
