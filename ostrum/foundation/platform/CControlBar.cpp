#include "ostrum/foundation/platform/CControlBar.h"

#include <cstring>
#include <vector>

#include "ostrum/foundation/platform/CFrameWnd.h"
#include "ostrum/foundation/platform/CWinThread.h"
#include "ostrum/foundation/platform/ProcessIdentity.h"
#include "ostrum/foundation/platform/Resources.h"
#include "ostrum/foundation/platform/SystemColors.h"
#include "ostrum/foundation/platform/Toolbar.h"
#include "ostrum/foundation/platform/WindowPos.h"
#include "ostrum/foundation/platform/WindowTree.h"

CControlBar::~CControlBar() {
  if (m_pDockSite) m_pDockSite->RemoveControlBar(this);
  delete m_pDockContext;
}

void CControlBar::EnableDocking(DWORD dock_style) {
  m_dwDockStyle = dock_style & CBRS_ALIGN_ANY;
  if (!m_pDockContext) m_pDockContext = new CDockContext(this);
}

CFrameWnd* CControlBar::GetDockingFrame() const {
  if (m_pDockSite) return m_pDockSite;
  for (CWnd* parent = GetParent(); parent; parent = parent->GetParent())
    if (auto* frame = dynamic_cast<CFrameWnd*>(parent)) return frame;
  return dynamic_cast<CFrameWnd*>(AfxGetThread()->m_pMainWnd);
}

BOOL CControlBar::IsVisible() const { return m_hWnd && IsWindowVisible(); }

namespace {
constexpr int kToolbarHeight = 28;
}

CToolBar::~CToolBar() {
  DestroyWindow();
  if (m_images) ImageList_Destroy(m_images);
}

BOOL CToolBar::CreateEx(CWnd* parent, DWORD, DWORD style, UINT id) {
  if (m_hWnd || !parent || !parent->GetSafeHwnd()) return FALSE;
  InitCommonControls();
  RECT client{};
  ::GetClientRect(parent->GetSafeHwnd(), &client);
  if (!CWnd::CreateEx(0, TOOLBARCLASSNAMEW, L"", style | WS_CHILD, 0, 0, client.right, kToolbarHeight,
                      parent->GetSafeHwnd(), id))
    return FALSE;
  m_images = ImageList_Create(16, 15, ILC_COLOR32 | ILC_MASK, 4, 4);
  SendMessage(TB_SETIMAGELIST, 0, reinterpret_cast<LPARAM>(m_images));
  return TRUE;
}

BOOL CToolBar::LoadToolBar(UINT id) {
  HINSTANCE module = AfxGetResourceHandle();
  HRSRC resource = FindResourceW(module, MAKEINTRESOURCEW(static_cast<WORD>(id)), RT_TOOLBAR);
  if (!m_hWnd || !resource) return FALSE;
  const auto* words = static_cast<const WORD*>(LockResource(LoadResource(module, resource)));
  const int width = words[1];
  const int height = words[2];
  const int count = words[3];
  COLORMAP map[3] = {{RGB(0x80, 0x80, 0x80), GetSysColor(COLOR_BTNSHADOW)},
                     {RGB(0xC0, 0xC0, 0xC0), GetSysColor(COLOR_BTNFACE)},
                     {RGB(0xFF, 0xFF, 0xFF), GetSysColor(COLOR_BTNHIGHLIGHT)}};
  HBITMAP bitmap = CreateMappedBitmap(module, id, 0, map, 3);
  if (!bitmap) return FALSE;
  // Start over: no buttons, a fresh image list of the resource's size.
  while (SendMessage(TB_BUTTONCOUNT) > 0) SendMessage(TB_DELETEBUTTON, 0);
  HIMAGELIST images = ImageList_Create(width, height, ILC_COLOR32 | ILC_MASK, count, 4);
  ImageList_AddMasked(images, bitmap, GetSysColor(COLOR_BTNFACE));
  DeleteObject(bitmap);
  SendMessage(TB_SETIMAGELIST, 0, reinterpret_cast<LPARAM>(images));
  if (m_images) ImageList_Destroy(m_images);
  m_images = images;
  SendMessage(TB_SETBUTTONSIZE, 0, MAKELPARAM(width + 7, height + 7));
  int image = 0;
  for (int i = 0; i < count; ++i) {
    TBBUTTON button;
    button.idCommand = words[4 + i];
    if (button.idCommand) {
      button.iBitmap = image++;
      button.fsState = TBSTATE_ENABLED;
      button.fsStyle = TBSTYLE_BUTTON;
    } else {
      button.fsStyle = TBSTYLE_SEP;
    }
    SendMessage(TB_INSERTBUTTONW, static_cast<WPARAM>(i), reinterpret_cast<LPARAM>(&button));
  }
  return TRUE;
}

int CToolBar::GetCount() const {
  return m_hWnd ? static_cast<int>(::SendMessageW(m_hWnd, TB_BUTTONCOUNT, 0, 0)) : 0;
}

HIMAGELIST CToolBar::GetImageList() const {
  return m_hWnd ? reinterpret_cast<HIMAGELIST>(::SendMessageW(m_hWnd, TB_GETIMAGELIST, 0, 0)) : nullptr;
}
