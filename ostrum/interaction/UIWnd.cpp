#include "ostrum/interaction/UIWnd.h"

#include "ostrum/foundation/platform/Cursor.h"

UIWnd::~UIWnd() = default;

bool UIWnd::IsMouseSupported(UIMouse&) const { return true; }

void UIWnd::MouseIsMoving(UIMouse&) {}

void UIWnd::OnAppendMenu(UIMouse&, CMenu&, CPoint) {}

void UIWnd::SetCursorMouseNotSupported() { SetCursor(LoadCursorW(nullptr, IDC_NO)); }
