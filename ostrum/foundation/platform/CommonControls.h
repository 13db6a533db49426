#pragma once
// What controls send their parents in WM_NOTIFY: the common header, and the tool-tip's request
// for the text of a tool (in the wide and the narrow form).

#include "ostrum/foundation/platform/WinTypes.h"

/// The header every WM_NOTIFY's lParam points at.
struct NMHDR {
  HWND hwndFrom;
  UINT_PTR idFrom;
  UINT code;
};

constexpr UINT TTN_FIRST = static_cast<UINT>(-520);
/// A tool-tip asks for the narrow text of a tool.
constexpr UINT TTN_NEEDTEXTA = TTN_FIRST - 0;
/// A tool-tip asks for the wide text of a tool.
constexpr UINT TTN_NEEDTEXTW = TTN_FIRST - 10;

/// The tool is named by its window handle (in idFrom), not by a command id.
constexpr UINT TTF_IDISHWND = 0x0001;

struct TOOLTIPTEXTW {
  NMHDR hdr;
  LPWSTR lpszText;
  wchar_t szText[80];
  HINSTANCE hinst;
  UINT uFlags;
  LPARAM lParam;
};

struct TOOLTIPTEXTA {
  NMHDR hdr;
  char* lpszText;
  char szText[80];
  HINSTANCE hinst;
  UINT uFlags;
  LPARAM lParam;
};
