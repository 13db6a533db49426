#pragma once
// The menu work that tools and the handler share: access keys for a menu's items, finding a
// top-level entry by its title, and the main window's menu bar and toolbar.

#include <vector>

#include "ostrum/foundation/platform/WinTypes.h"

class CFrameWnd;
class CToolBar;

namespace Ostrum::Interaction::Private {

/// Gives every item of `menu` whose id is not in `excluded` an access key: old "&"s go, the
/// first character not yet used gets one. See UIMouseHandler::_AssignMenuMnemonics.
void AssignMenuMnemonics(HMENU menu, const std::vector<unsigned>& excluded);
/// The position of the first top-level entry whose title equals `title` ignoring "&", "." and
/// case; 0xFFFFFFFF for none.
unsigned FindMenuPosition(HMENU menu, const wchar_t* title);

/// The application's main window as a frame, with its menu bar and main toolbar; all set, or
/// false.
struct MainWindowParts {
  CFrameWnd* frame = nullptr;
  HMENU menu = nullptr;
  CToolBar* toolbar = nullptr;
};
bool FindMainWindowParts(MainWindowParts& parts);

}  // namespace Ostrum::Interaction::Private
