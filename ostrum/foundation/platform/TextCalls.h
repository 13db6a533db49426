#pragma once
// The desktop's string calls that the framework's windows use: bounded copies and the
// conversion of wide text into the narrow form older controls ask for. The model's narrow code
// pages (CP_ACP, CP_THREAD_ACP, CP_UTF8 alike) are all UTF-8.

#include "ostrum/Export.h"
#include "ostrum/foundation/platform/WinTypes.h"

constexpr UINT CP_ACP = 0;
constexpr UINT CP_THREAD_ACP = 3;
constexpr UINT CP_UTF8 = 65001;

/// Copies at most `size` - 1 characters of `source` into `destination` and always ends it with
/// a zero (for a size of at least 1); answers `destination`, or null for a null argument.
OSTRUM_API LPWSTR lstrcpynW(LPWSTR destination, LPCWSTR source, int size);

/// Converts `length` characters of `text` (-1: up to and with its zero) into UTF-8. With a
/// `size` of 0, answers the bytes needed. Otherwise writes whole characters into `bytes` and
/// answers the bytes written; when they do not all fit, writes those that fit and answers 0
/// with ERROR_INSUFFICIENT_BUFFER. `default_char` and `used_default` are not used (every
/// character has a UTF-8 form); `used_default` is set to FALSE when given.
OSTRUM_API int WideCharToMultiByte(UINT code_page, DWORD flags, LPCWSTR text, int length, char* bytes, int size,
                                   const char* default_char, BOOL* used_default);
