#pragma once
// CDlgResize: a dialog with a sizing frame whose controls follow its size. Each control added
// with AddControl keeps its distance to the right or bottom edge (moves) or grows with the
// dialog (sizes); the others stay where the template put them.

#include <vector>

#include "ostrum/Export.h"
#include "ostrum/foundation/platform/CDialog.h"

class OSTRUM_API CDlgResize : public CDialog {
  DECLARE_MESSAGE_MAP()

 public:
  /// How a control follows the dialog; combine with |.
  enum : UINT {
    RESIZE_MOVE_X = 0x1,  ///< keeps its distance to the right edge
    RESIZE_MOVE_Y = 0x2,  ///< keeps its distance to the bottom edge
    RESIZE_SIZE_X = 0x4,  ///< its width grows with the dialog's
    RESIZE_SIZE_Y = 0x8,  ///< its height grows with the dialog's
  };

  CDlgResize() { m_extra_style = kResizeStyle; }
  /// A resizable dialog of the template `template_id`, owned by `parent` (null: the main window).
  explicit CDlgResize(UINT template_id, CWnd* parent = nullptr);
  ~CDlgResize() override;

  /// Makes control `id` follow the dialog's size as `how` says; a second call for the same id
  /// replaces the first. Call before the dialog is made or in OnInitDialog.
  void AddControl(int id, UINT how);
  /// Notes the dialog's size and its controls' places as the layout to follow, then CDialog's.
  BOOL OnInitDialog() override;

 protected:
  void OnSize(UINT type, int cx, int cy);

 private:
  static constexpr DWORD kResizeStyle = 0x00040000;  // WS_THICKFRAME
  struct Anchor {
    int id;
    UINT how;
    RECT initial;
  };
  std::vector<Anchor> m_anchors;
  SIZE m_initial_client{0, 0};
  bool m_laid_out = false;
};
