#pragma once
// The two steps of a message loop after retrieval: translating key presses into characters and
// handing the message to its window.

#include "ostrum/Export.h"
#include "ostrum/foundation/platform/WinMessages.h"
#include "ostrum/foundation/platform/WinTypes.h"

/// For WM_KEYDOWN (WM_SYSKEYDOWN) of a key that types a character, puts WM_CHAR (WM_SYSCHAR)
/// with it first in the queue for the same window and answers TRUE. The character follows the
/// key state of the message (GetKeyState) on a US keyboard: Shift and Caps Lock for letters,
/// Shift for digits and punctuation, Ctrl+letter the control characters 1 to 26; space,
/// return, tab, backspace and escape type themselves. FALSE for anything else.
OSTRUM_API BOOL TranslateMessage(const MSG* msg);
/// Calls the procedure of the message's window and answers its result; a WM_TIMER that carries
/// a timer procedure in lParam calls that procedure instead, if the timer still exists. A
/// message without window answers 0; another thread's window, or none, 0 with the last error.
OSTRUM_API LRESULT DispatchMessageW(const MSG* msg);
