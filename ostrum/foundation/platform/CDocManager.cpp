#include "ostrum/foundation/platform/CDocManager.h"

CDocTemplate::CDocTemplate(const wchar_t* strings) {
  std::wstring part;
  for (const wchar_t* c = strings ? strings : L""; *c; ++c) {
    if (*c == L'\n') {
      m_strings.push_back(part);
      part.clear();
    } else {
      part += *c;
    }
  }
  m_strings.push_back(part);
}

BOOL CDocTemplate::GetDocString(CString& text, DocStringIndex index) const {
  const auto i = static_cast<std::size_t>(index);
  if (i >= m_strings.size()) {
    text = L"";
    return FALSE;
  }
  text = m_strings[i].c_str();
  return TRUE;
}

CDocManager::~CDocManager() {
  for (CDocTemplate* document_template : m_templates) delete document_template;
}

void CDocManager::AddDocTemplate(CDocTemplate* document_template) {
  if (document_template) m_templates.push_back(document_template);
}

// A position is the index of the next template plus one, so that null ends the walk.
POSITION CDocManager::GetFirstDocTemplatePosition() const {
  return m_templates.empty() ? nullptr : reinterpret_cast<POSITION>(std::size_t{1});
}

CDocTemplate* CDocManager::GetNextDocTemplate(POSITION& position) const {
  const std::size_t index = reinterpret_cast<std::size_t>(position) - 1;
  if (!position || index >= m_templates.size()) {
    position = nullptr;
    return nullptr;
  }
  position = index + 1 < m_templates.size() ? reinterpret_cast<POSITION>(index + 2) : nullptr;
  return m_templates[index];
}

void CDocManager::RegisterShellFileTypes(BOOL) {}
