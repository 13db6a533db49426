#pragma once
// MMainFrame: the host's main frame window, which receives every operation that asks for a
// frame update, answers its tool-tips from the string table and merges the accelerators a host
// or a tool brings into its own. Made from its run-time record (class name "MMainFrame").

#include "ostrum/Export.h"
#include "ostrum/foundation/platform/CFrameWnd.h"

class MOperation;

class OSTRUM_API MMainFrame : public CFrameWnd {
  DECLARE_DYNCREATE(MMainFrame)

 public:
  MMainFrame();
  ~MMainFrame() override;

  /// Told of an operation whose flags ask for a frame update; `param` is the caller's of
  /// DoOperation. Empty by default.
  virtual void DoUpdateUI(MOperation& operation, void* param);

  /// Replaces the frame's accelerator table by one holding its entries followed by those of
  /// `table`; the old table is destroyed, `table` stays the caller's.
  void AppendAccelerators(HACCEL table);

  /// The command's text from the string table.
  void GetMessageString(UINT id, CString& message) const override;

 protected:
  /// A tool-tip's request: tools named by their window go to the frame's default; otherwise the
  /// part behind the first line feed of the command's string (none for id 0, 0 if the string is
  /// missing) is copied into the request, at most 80 characters or bytes, and the tool-tip is
  /// brought up. Answers 1 with the result 0.
  BOOL OnToolTipText(UINT id, NMHDR* header, LRESULT* result);

  DECLARE_MESSAGE_MAP()
};
