#include "ostrum/foundation/platform/TextCalls.h"

#include <cwchar>
#include <string>

#include "ostrum/foundation/platform/LastError.h"
#include "ostrum/foundation/platform/private/Utf8.h"

LPWSTR lstrcpynW(LPWSTR destination, LPCWSTR source, int size) {
  if (!destination || !source) return nullptr;
  if (size < 1) return destination;
  int i = 0;
  for (; i + 1 < size && source[i] != L'\0'; ++i) destination[i] = source[i];
  destination[i] = L'\0';
  return destination;
}

int WideCharToMultiByte(UINT, DWORD, LPCWSTR text, int length, char* bytes, int size, const char*,
                        BOOL* used_default) {
  if (used_default) *used_default = FALSE;
  if (!text || length < -1 || length == 0 || size < 0 || (size > 0 && !bytes)) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return 0;
  }
  const size_t count = length == -1 ? std::wcslen(text) + 1 : static_cast<size_t>(length);
  std::string character;
  int written = 0;
  for (size_t i = 0; i < count; ++i) {
    character.clear();
    Ostrum::Desktop::Private::AppendUtf8(character, static_cast<std::uint32_t>(text[i]));
    const int needed = static_cast<int>(character.size());
    if (size > 0) {
      if (written + needed > size) {
        SetLastError(ERROR_INSUFFICIENT_BUFFER);
        return 0;
      }
      character.copy(bytes + written, character.size());
    }
    written += needed;
  }
  return written;
}
