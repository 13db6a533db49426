#include "ostrum/interaction/private/MenuPlacement.h"

#include <algorithm>
#include <cwctype>
#include <string>

#include "ostrum/foundation/platform/CControlBar.h"
#include "ostrum/foundation/platform/CFrameWnd.h"
#include "ostrum/foundation/platform/CWinThread.h"
#include "ostrum/foundation/platform/Menu.h"

namespace Ostrum::Interaction::Private {

namespace {
// Texts are read up to this many characters.
constexpr int kTextLimit = 160;
}  // namespace

void AssignMenuMnemonics(HMENU menu, const std::vector<unsigned>& excluded) {
  // Characters given away so far, over the whole menu. What goes in is the character *behind*
  // the one that got the key: the behaviour hosts' menus were laid out against.
  std::wstring used;
  const int count = GetMenuItemCount(menu);
  for (int position = 0; position < count; ++position) {
    const UINT id = GetMenuItemID(menu, position);
    if (std::find(excluded.begin(), excluded.end(), id) != excluded.end()) continue;
    wchar_t buffer[kTextLimit + 1] = {};
    const int length = GetMenuStringW(menu, id, buffer, kTextLimit + 1, MF_BYCOMMAND);
    if (length <= 0) continue;
    const std::wstring text(buffer, static_cast<std::size_t>(length));
    std::wstring out;
    bool marked = false;
    for (std::size_t i = 0; i < text.size();) {
      const wchar_t c = text[i];
      if (c == L'&') {
        if (i + 1 < text.size() && text[i + 1] == L'&') {
          // A shown "&" stays; the character behind the pair is dropped.
          out += L"&&";
          i += 3;
        } else {
          ++i;  // an old access key goes
        }
        continue;
      }
      if (!marked && used.find(c) == std::wstring::npos) {
        used += i + 1 < text.size() ? text[i + 1] : L'\0';
        out += L'&';
        marked = true;
      }
      out += c;
      ++i;
    }
    ModifyMenuW(menu, static_cast<UINT>(position), MF_BYPOSITION | MF_STRING, id, out.c_str());
  }
}

unsigned FindMenuPosition(HMENU menu, const wchar_t* title) {
  const std::wstring wanted = title ? title : L"";
  const int count = GetMenuItemCount(menu);
  for (int position = 0; position < count; ++position) {
    wchar_t buffer[kTextLimit + 1] = {};
    GetMenuStringW(menu, static_cast<UINT>(position), buffer, kTextLimit + 1, MF_BYPOSITION);
    const wchar_t* a = buffer;
    const wchar_t* b = wanted.c_str();
    bool differ = false;
    for (;;) {
      while (*a == L'&' || *a == L'.') ++a;
      while (*b == L'&' || *b == L'.') ++b;
      if (!*a || !*b) break;
      if (std::towupper(static_cast<wint_t>(*a)) != std::towupper(static_cast<wint_t>(*b))) {
        differ = true;
        break;
      }
      ++a;
      ++b;
    }
    if (!differ && !*a && !*b) return static_cast<unsigned>(position);
  }
  return 0xFFFFFFFF;
}

bool FindMainWindowParts(MainWindowParts& parts) {
  CWinThread* thread = AfxGetThread();
  parts.frame = thread ? dynamic_cast<CFrameWnd*>(thread->m_pMainWnd) : nullptr;
  if (!parts.frame || !parts.frame->GetSafeHwnd()) return false;
  parts.menu = GetMenu(parts.frame->GetSafeHwnd());
  if (!parts.menu) return false;
  parts.toolbar = dynamic_cast<CToolBar*>(parts.frame->GetControlBar(AFX_IDW_TOOLBAR));
  return parts.toolbar && parts.toolbar->GetSafeHwnd();
}

}  // namespace Ostrum::Interaction::Private
