#include "ostrum/document/MView.h"

#include "ostrum/foundation/platform/MessageMap.h"

IMPLEMENT_DYNCREATE(MView, CView)

BEGIN_MESSAGE_MAP(MView, CView)
  ON_WM_KEYUP()
  ON_WM_KEYDOWN()
END_MESSAGE_MAP()

MView::MView() = default;
MView::~MView() = default;

bool MView::DoOperation(MOperation&) { return false; }

void MView::OnUpdate(CView* sender, LPARAM hint, CObject* hint_object) {
  CView::OnUpdate(sender, hint, hint_object);
}

void MView::OnKeyDown(UINT, UINT, UINT) { CWnd::Default(); }
void MView::OnKeyUp(UINT, UINT, UINT) { CWnd::Default(); }
