#pragma once
// Window classes of the desktop model: a procedure and defaults registered under a name, from
// which windows are made.

#include "ostrum/Export.h"
#include "ostrum/foundation/platform/WinTypes.h"

constexpr UINT CS_VREDRAW = 0x0001;
constexpr UINT CS_HREDRAW = 0x0002;
constexpr UINT CS_DBLCLKS = 0x0008;
constexpr UINT CS_OWNDC = 0x0020;
constexpr UINT CS_NOCLOSE = 0x0200;
/// A class found by CreateWindowExW whatever module handle the caller passes.
constexpr UINT CS_GLOBALCLASS = 0x4000;

/// A class atom in the place of a class name.
inline LPCWSTR MAKEINTATOM(ATOM atom) { return reinterpret_cast<LPCWSTR>(static_cast<uintptr_t>(atom)); }

/// The description of a class for RegisterClassExW; `cbSize` must be sizeof(WNDCLASSEXW).
struct WNDCLASSEXW {
  UINT cbSize = sizeof(WNDCLASSEXW);
  UINT style = 0;                  ///< CS_ flags
  WNDPROC lpfnWndProc = nullptr;   ///< required
  int cbClsExtra = 0;
  int cbWndExtra = 0;
  HINSTANCE hInstance = nullptr;   ///< the registering module; null means the program's own
  HICON hIcon = nullptr;
  HCURSOR hCursor = nullptr;
  HBRUSH hbrBackground = nullptr;
  LPCWSTR lpszMenuName = nullptr;
  LPCWSTR lpszClassName = nullptr; ///< required; compared without regard to case
  HICON hIconSm = nullptr;
};

/// The older description, without size and small icon.
struct WNDCLASSW {
  UINT style = 0;
  WNDPROC lpfnWndProc = nullptr;
  int cbClsExtra = 0;
  int cbWndExtra = 0;
  HINSTANCE hInstance = nullptr;
  HICON hIcon = nullptr;
  HCURSOR hCursor = nullptr;
  HBRUSH hbrBackground = nullptr;
  LPCWSTR lpszMenuName = nullptr;
  LPCWSTR lpszClassName = nullptr;
};

/// Registers a class under its name and module. Answers the class atom, or 0 with the last
/// error: ERROR_CLASS_ALREADY_EXISTS if the module has a class of that name,
/// ERROR_INVALID_PARAMETER for a wrong size or a missing procedure or name.
OSTRUM_API ATOM RegisterClassExW(const WNDCLASSEXW* wc);
/// RegisterClassExW for the older description.
OSTRUM_API ATOM RegisterClassW(const WNDCLASSW* wc);
/// Removes a class of the module, named or given by atom. FALSE with ERROR_CLASS_HAS_WINDOWS
/// while windows of the class exist, ERROR_CLASS_DOES_NOT_EXIST if there is none.
OSTRUM_API BOOL UnregisterClassW(LPCWSTR class_name, HINSTANCE instance);
/// Fills `wc` with the class's description (its cbSize is left as given). Nonzero (the atom) if
/// found; 0 with ERROR_CLASS_DOES_NOT_EXIST if the module has no such class.
OSTRUM_API BOOL GetClassInfoExW(HINSTANCE instance, LPCWSTR class_name, WNDCLASSEXW* wc);
