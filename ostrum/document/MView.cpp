#include "ostrum/document/MView.h"

MView::~MView() = default;

bool MView::DoOperation(MOperation&) { return false; }

void MView::OnUpdate(CView* sender, LPARAM hint, CObject* hint_object) {
  CView::OnUpdate(sender, hint, hint_object);
}
