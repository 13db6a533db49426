#pragma once
// MContextMenu: a popup menu that host code builds by hand, item by item, with item texts
// taken either as given or from the string resources, and freed with the object. The mouse
// tools' own context menu works on a CMenu directly and does not use this class.

#include "ostrum/Export.h"
#include "ostrum/foundation/platform/CMenu.h"
#include "ostrum/foundation/platform/CPoint.h"
#include "ostrum/foundation/platform/CString.h"

class CWnd;

class OSTRUM_API MContextMenu {
 public:
  /// Holds no menu until CreateMenu.
  MContextMenu() = default;
  MContextMenu(const MContextMenu&) = delete;
  MContextMenu& operator=(const MContextMenu&) = delete;
  /// Destroys the menu, if one was made.
  virtual ~MContextMenu();

  /// Makes an empty popup menu and holds it; answers what attaching it answers.
  int CreateMenu();
  /// Appends a command item with the text as given.
  int AppendItem(unsigned id, CString text);
  /// Appends a command item with the text of string resource `string_id`; 0, adding nothing,
  /// if there is no such string.
  int AppendItem(unsigned id, unsigned string_id);
  /// Appends a separator.
  int AppendSeparator();
  /// Inserts an item at `position` with the flags as given.
  int InsertItem(unsigned position, unsigned flags, unsigned id, CString text);
  /// As above with the text of string resource `string_id`; 0, inserting nothing, if there is
  /// no such string.
  int InsertItem(unsigned position, unsigned flags, unsigned id, unsigned string_id);
  /// Inserts an item without id and text. The flags are taken as given: a separator is made
  /// only when they hold MF_SEPARATOR, otherwise the item is one with an empty text.
  int InsertSeparator(unsigned position, unsigned flags);
  /// The number of items; 0xFFFFFFFF while there is no menu.
  unsigned GetItemsCount();
  /// Shows the menu at `point` for `wnd` and tracks it; answers what tracking answers.
  int DisplayMenu(unsigned flags, CPoint point, CWnd* wnd);
  CMenu& GetMenu() { return m_menu; }

 private:
  CMenu m_menu;
};
