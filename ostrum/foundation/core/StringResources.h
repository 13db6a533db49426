#pragma once
// String resources: the texts that the framework shows by number. The framework holds none of
// its own; the host fills the table at start-up (for instance from its translation files) and
// may change it at any time, from any thread.

#include <string>

#include "ostrum/Export.h"
#include "ostrum/foundation/platform/CString.h"

/// The text under `id`; empty when the table has none.
OSTRUM_API CString VarnResLoadStringEx(unsigned int id);
/// Puts the text under `id` into `text` and answers true; false, with `text` emptied, when the
/// table has none. A text entered as empty loads as empty with true.
OSTRUM_API bool VarnResLoadStringEx(unsigned int id, CString& text);
OSTRUM_API bool VarnResLoadStringEx(unsigned int id, std::wstring& text);

/// Host side: enters `text` under `id`, replacing what stood there. A null text removes the
/// entry.
OSTRUM_API void VarnResSetString(unsigned int id, const wchar_t* text);
OSTRUM_API void VarnResSetString(unsigned int id, const std::wstring& text);
/// Host side: removes the text under `id`; false if there was none.
OSTRUM_API bool VarnResRemoveString(unsigned int id);
/// Host side: removes every text.
OSTRUM_API void VarnResClearStrings();
