#pragma once
// CFrameWnd: a main or child frame window, which knows its active view, keeps the accelerator
// table of its commands and answers its tool-tips' requests for text.

#include "ostrum/Export.h"
#include "ostrum/foundation/platform/Accelerator.h"
#include "ostrum/foundation/platform/CString.h"
#include "ostrum/foundation/platform/CWnd.h"

class CView;
struct NMHDR;

class OSTRUM_API CFrameWnd : public CWnd {
  DECLARE_DYNAMIC(CFrameWnd)
 public:
  ~CFrameWnd() override;

  /// The view that has the focus in this frame, or null. Not owned.
  CView* GetActiveView() const { return m_active_view; }
  void SetActiveView(CView* view) { m_active_view = view; }

  /// The text of command `id` ("prompt\ntip"); empty here, as the model keeps no string
  /// resources at this level: frames that have them override it.
  virtual void GetMessageString(UINT id, CString& message) const;

  /// The frame's accelerator table (null: none). The frame does not destroy it.
  HACCEL m_hAccelTable = nullptr;

 protected:
  /// A tool-tip's request for text (TTN_NEEDTEXTW or TTN_NEEDTEXTA): the tip of the tool's
  /// command (its control id when the tool is named by its window), the part of its message
  /// string behind the first line feed, at most 79 characters or bytes; the tool-tip is brought
  /// to the top. Answers TRUE, with the result 0.
  BOOL OnToolTipText(UINT id, NMHDR* header, LRESULT* result);
  /// Copies `tip` into a tool-tip's request: the wide form at most 79 characters, the narrow one
  /// at most 79 bytes of whole characters, each ended by a zero.
  static void CopyToolTipText(NMHDR& header, const std::wstring& tip);

 private:
  CView* m_active_view = nullptr;
};
