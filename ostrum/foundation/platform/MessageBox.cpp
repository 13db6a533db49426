#include "ostrum/foundation/platform/MessageBox.h"

#include <mutex>

#include "ostrum/foundation/platform/CWinThread.h"
#include "ostrum/foundation/platform/CWnd.h"
#include "ostrum/foundation/platform/ModalLoop.h"

namespace Ostrum::Desktop {

namespace {

struct Log {
  std::mutex mutex;
  std::vector<MessageBoxRecord> records;
  std::wstring application_name = L"Ostrum";
};

// Never destroyed: boxes may be shown from static destructors at exit.
Log& TheLog() {
  static Log* log = new Log;
  return *log;
}

}  // namespace

std::vector<MessageBoxRecord> TakeMessageBoxLog() {
  Log& log = TheLog();
  std::lock_guard lock(log.mutex);
  std::vector<MessageBoxRecord> taken;
  taken.swap(log.records);
  return taken;
}

int DefaultMessageBoxAnswer(UINT type) {
  switch (type & MB_TYPEMASK) {
    case MB_OKCANCEL:
    case MB_YESNOCANCEL:
    case MB_RETRYCANCEL:
      return IDCANCEL;
    case MB_ABORTRETRYIGNORE:
      return IDABORT;
    case MB_YESNO:
      return IDNO;
    default:
      return IDOK;
  }
}

void SetApplicationName(const wchar_t* name) {
  Log& log = TheLog();
  std::lock_guard lock(log.mutex);
  log.application_name = name ? name : L"";
}

const wchar_t* GetApplicationName() { return TheLog().application_name.c_str(); }

}  // namespace Ostrum::Desktop

int MessageBoxW(HWND owner, LPCWSTR text, LPCWSTR caption, UINT type) {
  using namespace Ostrum::Desktop;
  MessageBoxDetail detail{text ? text : L"", caption ? caption : L"Error", type};
  ModalFrame frame;
  frame.kind = ModalKind::MessageBox;
  frame.owner = owner;
  frame.default_answer = DefaultMessageBoxAnswer(type);
  frame.description = L"message box \"" + detail.caption + L"\": " + detail.text;
  frame.detail = &detail;
  const int answer = RunModalLoop(frame);
  Log& log = TheLog();
  std::lock_guard lock(log.mutex);
  log.records.push_back({detail.text, detail.caption, type, answer});
  return answer;
}

int AfxMessageBox(LPCWSTR text, UINT type, UINT) {
  CWinThread* thread = AfxGetThread();
  CWnd* main = thread ? thread->m_pMainWnd : nullptr;
  const std::wstring caption = Ostrum::Desktop::GetApplicationName();
  return MessageBoxW(main ? main->GetSafeHwnd() : nullptr, text, caption.c_str(), type);
}
