#pragma once
// OutputDebugStringW: the desktop's debug output, where the framework reports what only a
// programmer needs to know (an undo directory it cannot use, a failed clean-up).

#include "ostrum/Export.h"

/// Sends `text` (null is ignored) to the debug output: by default one line on the standard
/// error stream, in UTF-8; a host or a test may take the lines instead (SetDebugOutput).
OSTRUM_API void OutputDebugStringW(const wchar_t* text);

namespace Ostrum::Desktop {

/// Where the debug output goes: called with each text, on the thread that sent it.
using DebugOutputSink = void (*)(const wchar_t* text, void* context);

/// Sends the debug output to `sink` with `context` from now on (null: back to the standard
/// error stream). Answers the sink that was set before, and its context in `old_context`.
OSTRUM_API DebugOutputSink SetDebugOutput(DebugOutputSink sink, void* context, void** old_context = nullptr);

}  // namespace Ostrum::Desktop
