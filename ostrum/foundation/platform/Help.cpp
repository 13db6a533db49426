#include "ostrum/foundation/platform/Help.h"

#include <mutex>

#include "ostrum/foundation/platform/CWinApp.h"
#include "ostrum/foundation/platform/private/ResetHooks.h"

namespace Ostrum::Desktop {

namespace {

// Process-wide and never destroyed, as the model's other tables.
struct HelpLog {
  std::mutex mutex;
  std::vector<HelpRequest> requests;
};

HelpLog& Log() {
  static HelpLog* log = new HelpLog;
  return *log;
}

[[maybe_unused]] const bool g_reset_registered = Private::AddResetHook([] { TakeHelpRequests(); });

}  // namespace

void RecordHelpRequest(UINT_PTR context, UINT command) {
  std::lock_guard<std::mutex> lock(Log().mutex);
  Log().requests.push_back({context, command});
}

std::vector<HelpRequest> TakeHelpRequests() {
  std::lock_guard<std::mutex> lock(Log().mutex);
  std::vector<HelpRequest> taken;
  taken.swap(Log().requests);
  return taken;
}

}  // namespace Ostrum::Desktop

namespace {
CWinApp* g_app = nullptr;
}

CWinApp::CWinApp() { g_app = this; }

CWinApp::~CWinApp() {
  if (g_app == this) g_app = nullptr;
}

void CWinApp::WinHelp(UINT_PTR data, UINT command) { Ostrum::Desktop::RecordHelpRequest(data, command); }

CWinApp* AfxGetApp() { return g_app; }
