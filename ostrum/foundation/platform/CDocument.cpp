#include "ostrum/foundation/platform/CDocument.h"

#include <algorithm>
#include <cstddef>

#include "ostrum/foundation/platform/CView.h"

IMPLEMENT_DYNAMIC(CDocument, CCmdTarget)

CDocument::~CDocument() {
  for (CView* view : m_views) view->m_document = nullptr;
}

int CDocument::OnNewDocument() {
  DeleteContents();
  SetModifiedFlag(false);
  return 1;
}

void CDocument::DeleteContents() {}

int CDocument::OnOpenDocument(const wchar_t*) {
  DeleteContents();
  SetModifiedFlag(false);
  return 1;
}

int CDocument::OnSaveDocument(const wchar_t*) {
  SetModifiedFlag(false);
  return 1;
}

void CDocument::SetTitle(const wchar_t* title) { m_title = title; }

void CDocument::AddView(CView* view) {
  if (!view || view->m_document == this) return;
  if (view->m_document) view->m_document->RemoveView(view);
  m_views.push_back(view);
  view->m_document = this;
}

void CDocument::RemoveView(CView* view) {
  auto it = std::find(m_views.begin(), m_views.end(), view);
  if (it == m_views.end()) return;
  m_views.erase(it);
  view->m_document = nullptr;
}

// A position is the index of the next view plus one, so that null ends the walk.
POSITION CDocument::GetFirstViewPosition() const {
  return m_views.empty() ? nullptr : reinterpret_cast<POSITION>(std::size_t{1});
}

CView* CDocument::GetNextView(POSITION& pos) const {
  std::size_t index = reinterpret_cast<std::size_t>(pos) - 1;
  if (!pos || index >= m_views.size()) {
    pos = nullptr;
    return nullptr;
  }
  CView* view = m_views[index];
  pos = index + 1 < m_views.size() ? reinterpret_cast<POSITION>(index + 2) : nullptr;
  return view;
}
