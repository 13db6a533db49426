#pragma once
// The desktop's measures as the framework asks for them: fixed values of a 96-DPI desktop,
// the screen from the backend, and the mouse settings.

#include "ostrum/Export.h"
#include "ostrum/foundation/platform/WinTypes.h"

constexpr int SM_CXSCREEN = 0;
constexpr int SM_CYSCREEN = 1;
constexpr int SM_CXVSCROLL = 2;
constexpr int SM_CYHSCROLL = 3;
constexpr int SM_CYCAPTION = 4;
constexpr int SM_CXBORDER = 5;
constexpr int SM_CYBORDER = 6;
constexpr int SM_CXDLGFRAME = 7;
constexpr int SM_CYDLGFRAME = 8;
constexpr int SM_CXFIXEDFRAME = SM_CXDLGFRAME;
constexpr int SM_CYFIXEDFRAME = SM_CYDLGFRAME;
constexpr int SM_CXICON = 11;
constexpr int SM_CYICON = 12;
constexpr int SM_CXCURSOR = 13;
constexpr int SM_CYCURSOR = 14;
constexpr int SM_CYMENU = 15;
constexpr int SM_MOUSEPRESENT = 19;
constexpr int SM_SWAPBUTTON = 23;
constexpr int SM_CXFRAME = 32;
constexpr int SM_CYFRAME = 33;
constexpr int SM_CXSIZEFRAME = SM_CXFRAME;
constexpr int SM_CYSIZEFRAME = SM_CYFRAME;
constexpr int SM_CXDOUBLECLK = 36;
constexpr int SM_CYDOUBLECLK = 37;
constexpr int SM_CMOUSEBUTTONS = 43;
constexpr int SM_CXEDGE = 45;
constexpr int SM_CYEDGE = 46;
constexpr int SM_CXSMICON = 49;
constexpr int SM_CYSMICON = 50;
constexpr int SM_CXPADDEDBORDER = 92;

/// The measure `index` (SM_*): the screen's size from the backend, the button swap, and fixed
/// values of a 96-DPI desktop for the rest; 0 for an unknown index.
OSTRUM_API int GetSystemMetrics(int index);
/// The longest time between the presses of a double click, in milliseconds of the model clock:
/// 500.
OSTRUM_API UINT GetDoubleClickTime();
/// Exchanges the meaning of the left and right buttons (TRUE) or restores it; answers whether
/// they were exchanged before. Process-wide, as on the desktop.
OSTRUM_API BOOL SwapMouseButton(BOOL swap);
