#pragma once
// The numeric types of the desktop model, with their Windows widths on a 64-bit system.

#include <cstdint>

struct HWND__;
using HWND = HWND__*;       ///< window handle of the desktop model; null is no window
using WPARAM = uintptr_t;   ///< message parameter, pointer sized
using LPARAM = intptr_t;    ///< message parameter, pointer sized and signed
using LRESULT = intptr_t;   ///< result of a window procedure
using UINT = uint32_t;
using BOOL = int;
using SHORT = int16_t;
using USHORT = uint16_t;

struct __POSITION;
using POSITION = __POSITION*;  ///< cursor of a walk over a framework list; null ends it

using BYTE = uint8_t;
using WORD = uint16_t;
using DWORD = uint32_t;
using LONG = int32_t;       ///< 32 bits, as on the desktop the interfaces were written for
using ULONG = uint32_t;
using UINT_PTR = uintptr_t;
using INT_PTR = intptr_t;
using LONG_PTR = intptr_t;
using ULONG_PTR = uintptr_t;
using ATOM = uint16_t;      ///< number of a registered window class; 0 is none
using LPVOID = void*;
using LPCVOID = const void*;
using LPCWSTR = const wchar_t*;
using LPWSTR = wchar_t*;

struct HINSTANCE__;
using HINSTANCE = HINSTANCE__*;  ///< module handle; the program's own is GetModuleHandleW(nullptr)
using HMODULE = HINSTANCE;
struct HMENU__;
using HMENU = HMENU__*;          ///< menu handle, or a child window's id in CreateWindowExW
struct HICON__;
using HICON = HICON__*;
using HCURSOR = HICON;
struct HBRUSH__;
using HBRUSH = HBRUSH__*;
struct HDC__;
using HDC = HDC__*;              ///< device context handle

#ifndef TRUE
#define TRUE 1
#endif
#ifndef FALSE
#define FALSE 0
#endif
#ifndef CALLBACK
#define CALLBACK  ///< calling convention marker of procedures; one convention on this system
#endif

/// A point in pixels (screen or client coordinates, as the call says).
struct POINT {
  LONG x = 0;
  LONG y = 0;
};
using LPPOINT = POINT*;

/// A rectangle in pixels; right and bottom lie just outside it, so the width is right - left.
struct RECT {
  LONG left = 0;
  LONG top = 0;
  LONG right = 0;
  LONG bottom = 0;
};
using LPRECT = RECT*;
using LPCRECT = const RECT*;

/// An extent in pixels.
struct SIZE {
  LONG cx = 0;
  LONG cy = 0;
};

// Packing of message parameters, as the desktop does it.
constexpr WORD LOWORD(uintptr_t value) { return static_cast<WORD>(value & 0xFFFF); }
constexpr WORD HIWORD(uintptr_t value) { return static_cast<WORD>((value >> 16) & 0xFFFF); }
constexpr DWORD MAKELONG(WORD low, WORD high) { return static_cast<DWORD>(low) | (static_cast<DWORD>(high) << 16); }
/// Two 16-bit values in an lParam; negative values keep their 16-bit two's complement.
constexpr LPARAM MAKELPARAM(int low, int high) {
  return static_cast<LPARAM>(MAKELONG(static_cast<WORD>(low), static_cast<WORD>(high)));
}
constexpr WPARAM MAKEWPARAM(int low, int high) {
  return static_cast<WPARAM>(MAKELONG(static_cast<WORD>(low), static_cast<WORD>(high)));
}
/// The x coordinate of a mouse message's lParam, signed: points left of or above a window
/// under capture are negative.
constexpr int GET_X_LPARAM(LPARAM lParam) { return static_cast<SHORT>(LOWORD(static_cast<uintptr_t>(lParam))); }
constexpr int GET_Y_LPARAM(LPARAM lParam) { return static_cast<SHORT>(HIWORD(static_cast<uintptr_t>(lParam))); }

/// Whether a name argument is really a small number (an atom or a resource id).
inline bool IS_INTRESOURCE(LPCWSTR name) { return (reinterpret_cast<uintptr_t>(name) >> 16) == 0; }
/// A resource number in the place of a resource name.
inline LPCWSTR MAKEINTRESOURCEW(WORD id) { return reinterpret_cast<LPCWSTR>(static_cast<uintptr_t>(id)); }

/// The procedure of a window class: receives every message sent or dispatched to its windows.
using WNDPROC = LRESULT (*)(HWND, UINT, WPARAM, LPARAM);
/// A timer's own procedure, called by DispatchMessageW instead of the window procedure; the
/// last argument is GetTickCount() at the call.
using TIMERPROC = void (*)(HWND, UINT, UINT_PTR, DWORD);
