#include "ostrum/wizard/private/FocusReturn.h"

#include "ostrum/foundation/platform/CFrameWnd.h"
#include "ostrum/foundation/platform/CView.h"
#include "ostrum/foundation/platform/CWinThread.h"

namespace Ostrum::Private {

void ReturnFocusToActiveView() {
  CWnd* main = AfxGetThread()->m_pMainWnd;
  if (!main || !main->GetSafeHwnd()) return;
  CFrameWnd* frame = nullptr;
  for (CWnd* window = main; window && !frame; window = window->GetParent()) frame = dynamic_cast<CFrameWnd*>(window);
  if (!frame) return;
  CView* view = frame->GetActiveView();
  if (view && view->GetSafeHwnd()) view->SetFocus();
}

}  // namespace Ostrum::Private
