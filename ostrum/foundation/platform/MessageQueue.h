#pragma once
// The message queue of a thread: posted messages in order of arrival, input from the window
// system, timers and the quit request, and the calls that put messages in, look at it and take
// messages out. Every thread has its own queue, made when the thread first uses one.

#include "ostrum/Export.h"
#include "ostrum/foundation/platform/WinMessages.h"
#include "ostrum/foundation/platform/WinTypes.h"

// Kinds of waiting messages, as GetQueueStatus reports them.
constexpr UINT QS_KEY = 0x0001;
constexpr UINT QS_MOUSEMOVE = 0x0002;
constexpr UINT QS_MOUSEBUTTON = 0x0004;
constexpr UINT QS_POSTMESSAGE = 0x0008;
constexpr UINT QS_TIMER = 0x0010;
constexpr UINT QS_PAINT = 0x0020;
constexpr UINT QS_SENDMESSAGE = 0x0040;
constexpr UINT QS_HOTKEY = 0x0080;
constexpr UINT QS_ALLPOSTMESSAGE = 0x0100;
constexpr UINT QS_RAWINPUT = 0x0400;
constexpr UINT QS_MOUSE = QS_MOUSEMOVE | QS_MOUSEBUTTON;
constexpr UINT QS_INPUT = QS_MOUSE | QS_KEY | QS_RAWINPUT;
/// Everything but sent messages: 0x4BF.
constexpr UINT QS_ALLEVENTS = QS_INPUT | QS_POSTMESSAGE | QS_TIMER | QS_PAINT | QS_HOTKEY;
constexpr UINT QS_ALLINPUT = QS_ALLEVENTS | QS_SENDMESSAGE;

// PeekMessageW's removal argument.
constexpr UINT PM_NOREMOVE = 0x0000;
constexpr UINT PM_REMOVE = 0x0001;

/// A thread's queue holds at most this many posted messages; PostMessageW fails beyond.
constexpr UINT POSTED_MESSAGE_QUOTA = 10000;

/// GetMessageW's window filter that takes only messages of the thread itself (null hwnd).
#define HWND_THREAD_MESSAGES (reinterpret_cast<HWND>(intptr_t{-1}))

/// Puts a message at the end of the posted messages of the window's thread and returns at once.
/// A null `hwnd` posts to the calling thread itself. Callable from any thread. FALSE with
/// ERROR_INVALID_WINDOW_HANDLE (also for HWND_BROADCAST, which is not modelled) or
/// ERROR_NOT_ENOUGH_QUOTA when the queue holds POSTED_MESSAGE_QUOTA messages.
OSTRUM_API BOOL PostMessageW(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam);
/// Posts a message with a null hwnd to the queue of the thread `thread_id` (a model number from
/// GetCurrentThreadId). FALSE with ERROR_INVALID_THREAD_ID if that thread has no queue.
OSTRUM_API BOOL PostThreadMessageW(DWORD thread_id, UINT message, WPARAM wParam, LPARAM lParam);
/// Asks the calling thread's loop to end: once no posted message or input waits, the queue hands
/// out WM_QUIT with `exit_code` in wParam, whatever the filters.
OSTRUM_API void PostQuitMessage(int exit_code);

/// Takes the next message for the calling thread, waiting through the backend if none is there:
/// posted messages first, then input (routed now: see Input.h), then the quit request, then
/// WM_PAINT for a window with something to paint, then due timers. `hwnd` null
/// means any message of the thread, HWND_THREAD_MESSAGES only those with a null hwnd; a nonzero
/// range takes only messages numbered in it. Answers 0 for WM_QUIT, -1 for an invalid window
/// filter, nonzero otherwise.
OSTRUM_API BOOL GetMessageW(MSG* msg, HWND hwnd, UINT filter_min, UINT filter_max);
/// GetMessageW without waiting: FALSE if nothing matching waits (after the backend's PollEvents
/// had its chance). With PM_NOREMOVE the message stays (a peeked timer is not restarted) and
/// input routing makes no sends; WM_PAINT stays either way until the window is validated.
OSTRUM_API BOOL PeekMessageW(MSG* msg, HWND hwnd, UINT filter_min, UINT filter_max, UINT remove);
/// What waits in the calling thread's queue, limited to the QS_ kinds in `flags`: the high word
/// holds the kinds waiting now, the low word those among them that arrived since the last call
/// of GetQueueStatus, GetMessageW or PeekMessageW. A timer counts once it is due.
OSTRUM_API DWORD GetQueueStatus(UINT flags);
