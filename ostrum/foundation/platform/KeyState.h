#pragma once
// Virtual keys with their Windows values, and the two questions about them: the state as of
// the input message being handled (GetKeyState) and the physical state now (GetAsyncKeyState).

#include "ostrum/Export.h"
#include "ostrum/foundation/platform/WinTypes.h"

constexpr UINT VK_LBUTTON = 0x01;
constexpr UINT VK_RBUTTON = 0x02;
constexpr UINT VK_CANCEL = 0x03;
constexpr UINT VK_MBUTTON = 0x04;
constexpr UINT VK_XBUTTON1 = 0x05;
constexpr UINT VK_XBUTTON2 = 0x06;
constexpr UINT VK_BACK = 0x08;
constexpr UINT VK_TAB = 0x09;
constexpr UINT VK_RETURN = 0x0D;
constexpr UINT VK_SHIFT = 0x10;
constexpr UINT VK_CONTROL = 0x11;
constexpr UINT VK_MENU = 0x12;  ///< Alt
constexpr UINT VK_PAUSE = 0x13;
constexpr UINT VK_CAPITAL = 0x14;
constexpr UINT VK_ESCAPE = 0x1B;
constexpr UINT VK_SPACE = 0x20;
constexpr UINT VK_PRIOR = 0x21;
constexpr UINT VK_NEXT = 0x22;
constexpr UINT VK_END = 0x23;
constexpr UINT VK_HOME = 0x24;
constexpr UINT VK_LEFT = 0x25;
constexpr UINT VK_UP = 0x26;
constexpr UINT VK_RIGHT = 0x27;
constexpr UINT VK_DOWN = 0x28;
constexpr UINT VK_INSERT = 0x2D;
constexpr UINT VK_DELETE = 0x2E;
constexpr UINT VK_HELP = 0x2F;
// '0'..'9' and 'A'..'Z' are their own character codes.
constexpr UINT VK_NUMPAD0 = 0x60;
constexpr UINT VK_MULTIPLY = 0x6A;
constexpr UINT VK_ADD = 0x6B;
constexpr UINT VK_SUBTRACT = 0x6D;
constexpr UINT VK_DECIMAL = 0x6E;
constexpr UINT VK_DIVIDE = 0x6F;
constexpr UINT VK_F1 = 0x70;
constexpr UINT VK_F2 = 0x71;
constexpr UINT VK_F3 = 0x72;
constexpr UINT VK_F4 = 0x73;
constexpr UINT VK_F5 = 0x74;
constexpr UINT VK_F6 = 0x75;
constexpr UINT VK_F7 = 0x76;
constexpr UINT VK_F8 = 0x77;
constexpr UINT VK_F9 = 0x78;
constexpr UINT VK_F10 = 0x79;
constexpr UINT VK_F11 = 0x7A;
constexpr UINT VK_F12 = 0x7B;
constexpr UINT VK_NUMLOCK = 0x90;
constexpr UINT VK_SCROLL = 0x91;
constexpr UINT VK_LSHIFT = 0xA0;
constexpr UINT VK_RSHIFT = 0xA1;
constexpr UINT VK_LCONTROL = 0xA2;
constexpr UINT VK_RCONTROL = 0xA3;
constexpr UINT VK_LMENU = 0xA4;
constexpr UINT VK_RMENU = 0xA5;
constexpr UINT VK_OEM_1 = 0xBA;       ///< ';:' on a US keyboard
constexpr UINT VK_OEM_PLUS = 0xBB;
constexpr UINT VK_OEM_COMMA = 0xBC;
constexpr UINT VK_OEM_MINUS = 0xBD;
constexpr UINT VK_OEM_PERIOD = 0xBE;
constexpr UINT VK_OEM_2 = 0xBF;       ///< '/?'

/// The key as of the input message the calling thread retrieved last: the high bit (a negative
/// answer) while down, the low bit toggled by each press. Mouse buttons are the logical ones,
/// after a button swap.
OSTRUM_API SHORT GetKeyState(int vk);
/// The key now, whatever the thread has retrieved: 0x8000 while down, else 0. Mouse buttons are
/// the physical ones: with swapped buttons VK_LBUTTON is the left button of the hand, which
/// sends the right-button messages.
OSTRUM_API SHORT GetAsyncKeyState(int vk);
