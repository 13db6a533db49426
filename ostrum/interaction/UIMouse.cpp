#include "ostrum/interaction/UIMouse.h"

#include <algorithm>

#include "ostrum/foundation/platform/CControlBar.h"
#include "ostrum/foundation/platform/CFrameWnd.h"
#include "ostrum/foundation/platform/CMenu.h"
#include "ostrum/foundation/platform/ProcessIdentity.h"
#include "ostrum/foundation/platform/Resources.h"
#include "ostrum/foundation/platform/SystemColors.h"
#include "ostrum/foundation/platform/Toolbar.h"
#include "ostrum/interaction/IMouseListener.h"
#include "ostrum/interaction/private/MenuPlacement.h"

using Ostrum::Interaction::Private::AssignMenuMnemonics;
using Ostrum::Interaction::Private::FindMainWindowParts;
using Ostrum::Interaction::Private::FindMenuPosition;
using Ostrum::Interaction::Private::MainWindowParts;

std::wstring UIMouse::mg_context_position_title = L"Help";

IMouseListener::~IMouseListener() = default;

UIMouse::UIMouse(IMouseListener* listener) : m_listener(listener) {}

UIMouse::UIMouse(const UIMouse& other) : ISubject(other), m_capture(other.m_capture) {}

UIMouse& UIMouse::operator=(const UIMouse& other) {
  m_capture = other.m_capture;
  return *this;
}

UIMouse::~UIMouse() = default;

void UIMouse::SetCapture() { m_capture = true; }
bool UIMouse::GetCapture() const { return m_capture; }
void UIMouse::OnSelect() { _AddContextItems(); }
void UIMouse::OnDeselect() { _RemoveContextItems(); }
void UIMouse::OnAbort(UIWnd*) { ReleaseCapture(); }
void UIMouse::OnSuspend() {}
void UIMouse::OnResume() {}
void UIMouse::OnInvalidate(CDC&, UIWnd*, CPoint) {}
unsigned UIMouse::GetToolBarID() { return 0xFFFFFFFF; }
const wchar_t* UIMouse::GetTitle() { return nullptr; }
void UIMouse::OnAppendMenu(CMenu&, UIWnd*, CPoint) {}
bool UIMouse::OnCommand(UIWnd*, unsigned, CPoint) { return false; }
bool UIMouse::OnUpdateCommandUI(UIWnd*, unsigned, CCmdUI*, CPoint) { return false; }
void UIMouse::OnKeyDown(unsigned, unsigned, unsigned) {}
void UIMouse::OnKeyUp(unsigned, unsigned, unsigned) {}

void UIMouse::OnMouseEnterWindow(UIWnd* wnd) {
  if (m_listener) m_listener->OnMouseEnterWindow(wnd);
}

void UIMouse::OnMouseLeaveWindow(UIWnd* wnd) {
  if (m_listener) m_listener->OnMouseLeaveWindow(wnd);
}

void UIMouse::OnMouseMove(UIWnd* wnd, unsigned flags, CPoint point) {
  if (m_listener) m_listener->OnMouseMove(wnd, flags, point);
}

bool UIMouse::OnLButtonDown(UIWnd*, unsigned, CPoint) {
  m_left_down = true;
  return false;
}

bool UIMouse::OnLButtonUp(UIWnd*, unsigned, CPoint) {
  m_left_down = false;
  return false;
}

bool UIMouse::OnLButtonDblClk(UIWnd*, unsigned, CPoint) { return false; }

bool UIMouse::OnRButtonDown(UIWnd*, unsigned, CPoint) {
  m_right_down = true;
  return false;
}

bool UIMouse::OnRButtonUp(UIWnd*, unsigned, CPoint) {
  m_right_down = false;
  return false;
}

bool UIMouse::OnRButtonDblClk(UIWnd*, unsigned, CPoint) { return false; }
bool UIMouse::HasDynamicMenu() { return true; }
bool UIMouse::IsScrollAllowed() const { return true; }

void UIMouse::ReleaseCapture() { m_capture = false; }

void UIMouse::SetContextPositionTitle(const wchar_t* title) { mg_context_position_title = title ? title : L""; }

const wchar_t* UIMouse::GetContextPositionTitle() { return mg_context_position_title.c_str(); }

void UIMouse::_AddContextItems() {
  // 1.
  _RemoveContextItems();
  // 2. Without a frame, its menu bar and its toolbar the tool simply brings nothing.
  MainWindowParts parts;
  if (!FindMainWindowParts(parts)) return;
  const HWND frame = parts.frame->GetSafeHwnd();
  // 3. The popup: what the tool adds to an empty menu, in front of the anchor title.
  if (HasDynamicMenu()) {
    CMenu popup;
    popup.CreatePopupMenu();
    OnAppendMenu(popup, nullptr, CPoint(-1, -1));
    const wchar_t* title = GetTitle();
    // A popup without a title could never be found again to be taken out: it is not put in.
    if (popup.GetMenuItemCount() > 0 && title && *title) {
      AssignMenuMnemonics(popup, {});
      m_menu_title = title;
      const unsigned position = FindMenuPosition(parts.menu, mg_context_position_title.c_str());
      if (InsertMenuW(parts.menu, position, MF_BYPOSITION | MF_POPUP, reinterpret_cast<UINT_PTR>(popup.m_hMenu),
                      m_menu_title.c_str()))
        popup.Detach();  // the menu bar owns it now
      else
        m_menu_title.clear();
      DrawMenuBar(frame);
    }
    // A popup left with the object (not inserted) is destroyed with it.
  }
  // 4.
  const unsigned id = GetToolBarID();
  if (id == 0xFFFFFFFF) {
    DrawMenuBar(frame);
    return;
  }
  // 5. The toolbar resource: version, width, height, count, then the command ids.
  HINSTANCE module = AfxGetResourceHandle();
  HRSRC resource = FindResourceW(module, MAKEINTRESOURCEW(static_cast<WORD>(id)), RT_TOOLBAR);
  if (!resource || SizeofResource(module, resource) < 8) {
    DrawMenuBar(frame);
    return;
  }
  const auto* words = static_cast<const WORD*>(LockResource(LoadResource(module, resource)));
  const int item_count = std::min<int>(words[3], static_cast<int>(SizeofResource(module, resource) / 2) - 4);
  // 6. The bitmap of the same number, its greys mapped to the system's button colours.
  COLORMAP map[3] = {{0x808080, GetSysColor(COLOR_BTNSHADOW)},
                     {0xC0C0C0, GetSysColor(COLOR_BTNFACE)},
                     {0xFFFFFF, GetSysColor(COLOR_BTNHIGHLIGHT)}};
  HBITMAP bitmap = CreateMappedBitmap(module, static_cast<INT_PTR>(id), 0, map, 3);
  // 7.
  CToolBar& toolbar = *parts.toolbar;
  const UINT old_count = static_cast<UINT>(toolbar.SendMessage(TB_BUTTONCOUNT));
  m_first_button_command = 0;
  HIMAGELIST images = reinterpret_cast<HIMAGELIST>(toolbar.SendMessage(TB_GETIMAGELIST));
  m_first_image = ImageList_AddMasked(images, bitmap, GetSysColor(COLOR_BTNFACE));
  // Without images added there are none to take out again.
  m_image_count = m_first_image < 0 ? 0 : ImageList_GetImageCount(images) - m_first_image;
  if (bitmap) DeleteObject(bitmap);
  // 8. The tool's buttons always come behind a separator of their own.
  TBBUTTON separator;
  separator.fsStyle = TBSTYLE_SEP;
  toolbar.SendMessage(TB_INSERTBUTTONW, old_count + m_button_count, reinterpret_cast<LPARAM>(&separator));
  ++m_button_count;
  // 9.
  int image = m_first_image;
  for (int i = 0; i < item_count; ++i) {
    const WORD command = words[4 + i];
    TBBUTTON button;
    if (command) {
      if (m_first_button_command == 0) m_first_button_command = command;
      button.iBitmap = image++;
      button.idCommand = command;
      button.fsState = TBSTATE_ENABLED;
      button.fsStyle = TBSTYLE_BUTTON;
    } else if (m_first_button_command == 0) {
      continue;  // separators in front of the first button: the leading one stands for them
    } else {
      button.fsStyle = TBSTYLE_SEP;
    }
    toolbar.SendMessage(TB_INSERTBUTTONW, old_count + m_button_count, reinterpret_cast<LPARAM>(&button));
    ++m_button_count;
  }
  // 10.
  DrawMenuBar(frame);
}

void UIMouse::_RemoveContextItems() {
  // 1.
  if (m_first_button_command == 0 && m_menu_title.empty()) return;
  // 2.
  MainWindowParts parts;
  if (!FindMainWindowParts(parts)) return;
  // 3, 4.
  if (!m_menu_title.empty()) {
    const unsigned position = FindMenuPosition(parts.menu, m_menu_title.c_str());
    if (position != 0xFFFFFFFF) {
      if (HMENU popup = GetSubMenu(parts.menu, static_cast<int>(position))) DestroyMenu(popup);
      RemoveMenu(parts.menu, position, MF_BYPOSITION);
    }
  }
  m_menu_title.clear();
  // 5. Images first, then the buttons, starting with the separator in front of the first one.
  if (m_first_button_command != 0) {
    CToolBar& toolbar = *parts.toolbar;
    HIMAGELIST images = reinterpret_cast<HIMAGELIST>(toolbar.SendMessage(TB_GETIMAGELIST));
    for (int i = 0; i < m_image_count; ++i) ImageList_Remove(images, m_first_image);
    const LRESULT index = toolbar.SendMessage(TB_COMMANDTOINDEX, m_first_button_command);
    if (index > 0)
      for (uint32_t i = 0; i < m_button_count; ++i) toolbar.SendMessage(TB_DELETEBUTTON, static_cast<WPARAM>(index - 1));
  }
  // 6.
  m_first_button_command = 0;
  m_button_count = 0;
  m_first_image = -1;
  m_image_count = 0;
  DrawMenuBar(parts.frame->GetSafeHwnd());
}
