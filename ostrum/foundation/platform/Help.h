#pragma once
// Help requests. The framework's windows ask the application for help with a context id;
// the model keeps each request in a log that test drivers read and a desktop backend may show.

#include <vector>

#include "ostrum/Export.h"
#include "ostrum/foundation/platform/WinTypes.h"

/// WinHelp's commands.
constexpr UINT HELP_CONTEXT = 0x0001;
constexpr UINT HELP_QUIT = 0x0002;
constexpr UINT HELP_FINDER = 0x000B;
/// Added by the framework to a dialog template's id to make its help context.
constexpr DWORD HID_BASE_RESOURCE = 0x00020000;

namespace Ostrum::Desktop {

/// One call of the application's help.
struct HelpRequest {
  UINT_PTR context = 0;
  UINT command = 0;
};

/// Appends a request to the log.
OSTRUM_API void RecordHelpRequest(UINT_PTR context, UINT command);
/// The requests since the last call, oldest first; the log is emptied.
OSTRUM_API std::vector<HelpRequest> TakeHelpRequests();

}  // namespace Ostrum::Desktop
