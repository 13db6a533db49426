#pragma once
// CFrameWnd: a main or child frame window, which knows its active view.

#include "ostrum/Export.h"
#include "ostrum/foundation/platform/CWnd.h"

class CControlBar;
class CView;

class OSTRUM_API CFrameWnd : public CWnd {
 public:
  ~CFrameWnd() override;

  /// The view that has the focus in this frame, or null. Not owned.
  CView* GetActiveView() const { return m_active_view; }
  void SetActiveView(CView* view) { m_active_view = view; }
  /// The bar among the frame's child windows whose control id is `id` (AFX_IDW_TOOLBAR for the
  /// main toolbar) and whose object is a CControlBar; null if there is none.
  CControlBar* GetControlBar(UINT id) const;

 private:
  CView* m_active_view = nullptr;
};
