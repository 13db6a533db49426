// The application controller: a module listens to the interactive windows' messages and the
// documents' commands through the two chains, what it does not consume reaches the window's
// and the document's own handling, and the controller's life brackets the thread's session.

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <unistd.h>

#include "ostrum/action/IAction.h"
#include "ostrum/deferred/DeferredTaskManager.h"
#include "ostrum/document/MApplicationController.h"
#include "ostrum/foundation/platform/AfxWndProc.h"
#include "ostrum/foundation/platform/CWnd.h"
#include "support/CallLog.h"
#include <sys/wait.h>
#include "support/DesktopFixture.h"
#include "support/TestDocument.h"

namespace {

using Ostrum::MApplicationController;

// A window whose messages pass the application's window chain first, as the interactive
// windows' do.
class ChainedWnd : public CWnd {
 public:
  CallLog log;
  BOOL OnWndMsg(UINT message, WPARAM wParam, LPARAM lParam, LRESULT* result) override {
    long long answer = 0;
    const int handled = MApplicationController::GetInstance()->ProcessWndMessage(
        *this, message, wParam, static_cast<long long>(lParam), &answer);
    if (result) *result = static_cast<LRESULT>(answer);
    return handled;
  }

 protected:
  void OnMouseMove(UINT, CPoint point) { log.push_back("window move " + std::to_string(point.x)); }
  DECLARE_MESSAGE_MAP()
};

BEGIN_MESSAGE_MAP(ChainedWnd, CWnd)
  ON_WM_MOUSEMOVE()
END_MESSAGE_MAP()

// A module that watches moves and may swallow them.
struct MoveWatcher {
  CallLog& log;
  bool swallow = false;
  MFCA::WndMessageDispatcher dispatcher;
  explicit MoveWatcher(CallLog& l) : log(l) {
    dispatcher.SetMessageHandlerFunctor(WM_MOUSEMOVE, MFCA::MakeMouseHandler<ChainedWnd>(*this, &MoveWatcher::OnMove));
  }
  bool OnMove(ChainedWnd&, const CPoint& point) {
    log.push_back("module move " + std::to_string(point.x));
    return swallow;
  }
};

class ApplicationController : public DesktopTest {};

TEST_F(ApplicationController, AModuleHearsEveryWindowMessageFirstAndMaySwallowIt) {
  ChainedWnd view;
  ASSERT_TRUE(view.CreateEx(0, kWindowClass, nullptr, WS_POPUP | WS_VISIBLE, 100, 100, 200, 100, nullptr, 0));
  MoveWatcher watcher(view.log);
  MFCA::WndMessageHandlerChain& chain = MApplicationController::GetInstance()->GetWndMessageHandlerChain();
  ASSERT_TRUE(chain.AppendMessageDispatcher(&watcher.dispatcher));

  user.MoveTo(view.GetSafeHwnd(), {10, 10});
  watcher.swallow = true;
  user.MoveTo(view.GetSafeHwnd(), {20, 10});
  chain.RemoveMessageDispatcher(&watcher.dispatcher);
  user.MoveTo(view.GetSafeHwnd(), {30, 10});
  EXPECT_EQ(view.log, (Calls{"module move 10", "window move 10", "module move 20", "window move 30"}));
  view.DestroyWindow();
}

// A document with a command of its own in its message map.
class CommandDocument : public TestDocument {
 public:
  CallLog log;

 protected:
  void OnAlign() { log.push_back("document map"); }
  DECLARE_MESSAGE_MAP()
};

BEGIN_MESSAGE_MAP(CommandDocument, TestDocument)
  ON_COMMAND(4100, OnAlign)
END_MESSAGE_MAP()

TEST_F(ApplicationController, ACommandPassesTheApplicationsChainThenTheDocumentsOwnThenItsMap) {
  CommandDocument document;
  MFCA::CmdMessageDispatcher module;
  bool module_takes = true, document_chain_takes = true;
  module.SetCommandHandlerFunctor(4100, new MFCA::CmdMessageFunction([&](const MFCA::CmdMessage& message) {
    document.log.push_back("application chain, target is the document: " +
                           std::string(&message.GetTarget() == &document ? "yes" : "no"));
    return module_takes;
  }));
  document.GetDefaultCmdMessageDispatcher().SetCommandHandlerFunctor(
      4100, new MFCA::CmdMessageFunction([&](const MFCA::CmdMessage&) {
        document.log.push_back("document chain");
        return document_chain_takes;
      }));
  MFCA::CmdMessageHandlerChain& chain = MApplicationController::GetInstance()->GetCmdMessageHandlerChain();
  ASSERT_TRUE(chain.AppendMessageDispatcher(&module));

  EXPECT_TRUE(document.OnCmdMsg(4100, 0, nullptr, nullptr));
  module_takes = false;
  EXPECT_TRUE(document.OnCmdMsg(4100, 0, nullptr, nullptr));
  document_chain_takes = false;
  EXPECT_TRUE(document.OnCmdMsg(4100, 0, nullptr, nullptr));
  EXPECT_FALSE(document.OnCmdMsg(4101, 0, nullptr, nullptr)) << "nobody handles an unknown command";
  chain.RemoveMessageDispatcher(&module);
  EXPECT_EQ(document.log, (Calls{"application chain, target is the document: yes",  //
                                 "application chain, target is the document: yes", "document chain",
                                 "application chain, target is the document: yes", "document chain", "document map"}));
  // A question runs nobody: the map's entry answers it.
  document.log.clear();
  AFX_CMDHANDLERINFO info;
  EXPECT_TRUE(document.OnCmdMsg(4100, 0, nullptr, &info));
  EXPECT_TRUE(document.log.empty());
}

// Marks a file when it is discarded, so that the parent sees what happened at the child's exit.
class MarkOnDiscard : public Ostrum::IAction {
 public:
  explicit MarkOnDiscard(std::string path) : m_path(std::move(path)) {}

 protected:
  void _Perform() override { delete this; }
  void _Discard() override {
    if (FILE* file = std::fopen(m_path.c_str(), "w")) std::fclose(file);
    delete this;
  }

 private:
  std::string m_path;
};

// The controller of a fresh process: this test runs itself again in a new program, where no
// controller exists yet (in this one, earlier tests have made it).
TEST(ApplicationControllerLife, TheFirstUseStartsTheSessionAndTheProcessExitDiscardsWhatWaits) {
  if (const char* marker = std::getenv("OSTRUM_CONTROLLER_MARKER")) {
    const std::string path = marker;
    auto note = [&](const char* what) {
      if (FILE* file = std::fopen((path + "." + what).c_str(), "w")) std::fclose(file);
    };
    auto* probe = new MarkOnDiscard(path);
    if (Ostrum::DeferredTaskManager::RegisterTask(probe, 5, 0) == nullptr) note("no-session-before");
    else
      return;
    delete probe;
    MApplicationController::GetInstance();
    if (Ostrum::DeferredTaskManager::RegisterTask(new MarkOnDiscard(path), 5, 0)) note("session-after");
    std::exit(0);  // the controller dies with the process, its session first
  }
  char pattern[] = "/tmp/ostrum-controller-XXXXXX";
  ASSERT_NE(::mkdtemp(pattern), nullptr);
  const std::string marker = std::string(pattern) + "/discarded";
  const pid_t child = ::fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    ::setenv("OSTRUM_CONTROLLER_MARKER", marker.c_str(), 1);
    ::execl("/proc/self/exe", "controller-life", "--gtest_filter=ApplicationControllerLife.*", static_cast<char*>(nullptr));
    ::_exit(127);
  }
  int status = 0;
  ::waitpid(child, &status, 0);
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
  EXPECT_EQ(::access((marker + ".no-session-before").c_str(), F_OK), 0) << "no session before the controller";
  EXPECT_EQ(::access((marker + ".session-after").c_str(), F_OK), 0) << "the controller's session takes tasks";
  EXPECT_EQ(::access(marker.c_str(), F_OK), 0) << "the waiting task was discarded at exit";
  for (const char* suffix : {"", ".no-session-before", ".session-after"}) std::remove((marker + suffix).c_str());
  ::rmdir(pattern);
}

}  // namespace
