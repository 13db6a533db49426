#include "ostrum/foundation/platform/CView.h"

#include "ostrum/foundation/platform/CDocument.h"

IMPLEMENT_DYNAMIC(CView, CWnd)

CView::~CView() {
  if (m_document) m_document->RemoveView(this);
}

void CView::OnUpdate(CView*, LPARAM, CObject*) {}
