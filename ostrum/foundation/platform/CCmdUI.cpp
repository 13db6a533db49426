#include "ostrum/foundation/platform/CCmdUI.h"

CCmdUI::~CCmdUI() = default;

void CCmdUI::Enable(BOOL on) {
  m_enableChanged = true;
  m_enabled = on != FALSE;
}

void CCmdUI::SetCheck(int check) { m_check = check; }

void CCmdUI::SetRadio(BOOL on) { m_check = on ? 1 : 0; }

void CCmdUI::SetText(LPCWSTR) {}
