// The chains and dispatchers on their own: order of asking, consumption, changes while a
// message passes, the typed adapters' decoding, and the processors' fall-through.

#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "ostrum/foundation/frameadapter/MessageProcessor.h"
#include "ostrum/foundation/platform/CWnd.h"
#include "ostrum/foundation/platform/WinMessages.h"
#include "support/CallLog.h"

namespace {

using MFCA::WndMessage;
using MFCA::WndMessageDispatcher;
using MFCA::WndMessageFunction;
using MFCA::WndMessageHandlerChain;

// A dispatcher that logs its name and answers as told.
struct Named : WndMessageDispatcher {
  Named(CallLog& log, std::string name, bool consume = false) {
    SetMessageHandlerFunctor(WM_MOUSEMOVE, new WndMessageFunction([&log, name, this](const WndMessage&) {
      log.push_back(name);
      if (react) react();
      return consume_it;
    }));
    consume_it = consume;
  }
  bool consume_it = false;
  std::function<void()> react;
};

TEST(MessageChain, AsksInOrderOfAppendingUntilOneConsumesAndStaysRightWhileChanged) {
  CallLog log;
  CWnd window;
  LRESULT result = 0;
  const WndMessage move(window, WM_MOUSEMOVE, 0, 0, &result);
  WndMessageHandlerChain chain;
  Named a(log, "a"), b(log, "b"), c(log, "c"), late(log, "late");
  EXPECT_TRUE(chain.AppendMessageDispatcher(&a));
  EXPECT_TRUE(chain.AppendMessageDispatcher(&b));
  EXPECT_TRUE(chain.AppendMessageDispatcher(&c));
  EXPECT_FALSE(chain.AppendMessageDispatcher(&b)) << "a dispatcher is in a chain once";
  EXPECT_FALSE(chain.AppendMessageDispatcher(nullptr));

  EXPECT_FALSE(chain.DispatchMessage(move));
  EXPECT_EQ(log, (Calls{"a", "b", "c"}));

  // b consumes: c hears nothing.
  log.clear();
  b.consume_it = true;
  EXPECT_TRUE(chain.DispatchMessage(move));
  EXPECT_EQ(log, (Calls{"a", "b"}));
  b.consume_it = false;

  // a removes c and appends late while the message passes: c is out at once, late starts with
  // the next message.
  log.clear();
  a.react = [&] {
    chain.RemoveMessageDispatcher(&c);
    chain.AppendMessageDispatcher(&late);
  };
  chain.DispatchMessage(move);
  EXPECT_EQ(log, (Calls{"a", "b"}));
  a.react = nullptr;
  log.clear();
  chain.DispatchMessage(move);
  EXPECT_EQ(log, (Calls{"a", "b", "late"}));

  // b removes itself and appends c again while it runs; a nested message passes meanwhile.
  log.clear();
  bool once = true;
  b.react = [&] {
    if (!std::exchange(once, false)) return;
    EXPECT_TRUE(chain.RemoveMessageDispatcher(&b));
    EXPECT_FALSE(chain.RemoveMessageDispatcher(&b));
    chain.AppendMessageDispatcher(&c);
    chain.DispatchMessage(move);  // a, late, c
  };
  chain.DispatchMessage(move);
  EXPECT_EQ(log, (Calls{"a", "b", "a", "late", "c", "late"}));
  EXPECT_EQ(chain.GetNumMessageDispatchers(), 3u);
  EXPECT_FALSE(chain.HasMessageDispatcher(&b));

  // A handler that replaces itself finishes its call, and the new one answers next time.
  log.clear();
  a.SetMessageHandlerFunctor(WM_MOUSEMOVE, new WndMessageFunction([&](const WndMessage&) {
    a.SetMessageHandlerFunctor(WM_MOUSEMOVE, new WndMessageFunction([&](const WndMessage&) {
      log.push_back("a2");
      return true;
    }));
    log.push_back("a1");
    return false;
  }));
  chain.DispatchMessage(move);
  chain.DispatchMessage(move);
  EXPECT_EQ(log, (Calls{"a1", "late", "c", "a2"}));
  // A message without a handler passes every dispatcher unconsumed.
  EXPECT_FALSE(chain.DispatchMessage(WndMessage(window, WM_KEYDOWN, 0, 0, &result)));
}

// The adapters' receiver.
struct Receiver {
  CallLog log;
  bool answer = true;
  bool Move(CWnd&, const CPoint& p) {
    log.push_back("move " + std::to_string(p.x) + "," + std::to_string(p.y));
    return answer;
  }
  bool Button(CWnd&, UINT flags, const CPoint& p) {
    log.push_back("button " + std::to_string(flags) + " " + std::to_string(p.x) + "," + std::to_string(p.y));
    return answer;
  }
  bool Key(CWnd&, UINT key, UINT repeat, UINT flags) {
    log.push_back("key " + std::to_string(key) + " x" + std::to_string(repeat) + " " + std::to_string(flags));
    return answer;
  }
  bool Wheel(CWnd&, UINT flags, short delta, const CPoint& p) {
    log.push_back("wheel " + std::to_string(flags) + " " + std::to_string(delta) + " " + std::to_string(p.x) + "," +
                  std::to_string(p.y));
    return answer;
  }
};

TEST(MessageChain, TypedAdaptersDecodeTheirMessagesAndSetTheAnswerOfAConsumedOne) {
  CWnd window;
  Receiver receiver;
  WndMessageDispatcher dispatcher;
  dispatcher.SetMessageHandlerFunctor(WM_MOUSEMOVE, MFCA::MakeMouseHandler<CWnd>(receiver, &Receiver::Move));
  dispatcher.SetMessageHandlerFunctor(WM_LBUTTONDOWN, MFCA::MakeButtonHandler<CWnd>(receiver, &Receiver::Button));
  dispatcher.SetMessageHandlerFunctor(WM_KEYDOWN, MFCA::MakeKeyHandler<CWnd>(receiver, &Receiver::Key));
  dispatcher.SetMessageHandlerFunctor(WM_MOUSEWHEEL, MFCA::MakeWheelHandler<CWnd>(receiver, &Receiver::Wheel));
  dispatcher.SetMessageHandlerFunctor(WM_SETCURSOR, MFCA::MakeMouseHandler<CWnd>(receiver, &Receiver::Move));
  LRESULT result = 77;
  // Points left of and above the window (under capture) are negative 16-bit halves.
  EXPECT_TRUE(dispatcher.DispatchMessage(WndMessage(window, WM_MOUSEMOVE, 0, MAKELPARAM(-5, -7), &result)));
  EXPECT_EQ(result, 0);
  dispatcher.DispatchMessage(WndMessage(window, WM_LBUTTONDOWN, MK_LBUTTON | MK_SHIFT, MAKELPARAM(300, 32767), &result));
  dispatcher.DispatchMessage(WndMessage(window, WM_KEYDOWN, 'A', MAKELPARAM(3, 0x4000), &result));
  dispatcher.DispatchMessage(
      WndMessage(window, WM_MOUSEWHEEL, MAKEWPARAM(MK_CONTROL, -120), MAKELPARAM(640, -1), &result));
  EXPECT_EQ(receiver.log, (Calls{"move -5,-7", "button " + std::to_string(MK_LBUTTON | MK_SHIFT) + " 300,32767",
                                 "key 65 x3 16384", "wheel " + std::to_string(MK_CONTROL) + " -120 640,-1"}));
  // A consumed WM_SETCURSOR answers TRUE (the cursor is set); one not consumed leaves the answer.
  result = 0;
  EXPECT_TRUE(dispatcher.DispatchMessage(WndMessage(window, WM_SETCURSOR, 0, 0, &result)));
  EXPECT_EQ(result, TRUE);
  receiver.answer = false;
  result = 5;
  EXPECT_FALSE(dispatcher.DispatchMessage(WndMessage(window, WM_SETCURSOR, 0, 0, &result)));
  EXPECT_EQ(result, 5);
  // Removing a handler silences it.
  dispatcher.RemoveMessageHandlerFunctor(WM_MOUSEMOVE);
  EXPECT_FALSE(dispatcher.HasMessageHandler(WM_MOUSEMOVE));
  EXPECT_FALSE(dispatcher.DispatchMessage(WndMessage(window, WM_MOUSEMOVE, 0, 0, &result)));
}

// The processors: chain first, the base handler for what it leaves.
struct Base : MFCA::Private::IWndMessageBaseHandler, MFCA::Private::ICmdMessageBaseHandler {
  CallLog log;
  BOOL OnWndMsg(CWnd&, UINT message, WPARAM, LPARAM, LRESULT* result) override {
    log.push_back("base " + std::to_string(message));
    *result = 42;
    return TRUE;
  }
  BOOL OnCommand(CWnd&, WPARAM, LPARAM) override { return FALSE; }
  BOOL OnNotify(CWnd&, WPARAM, LPARAM, LRESULT*) override { return FALSE; }
  BOOL OnCmdMsg(CCmdTarget&, UINT id, int, void*, AFX_CMDHANDLERINFO* info) override {
    log.push_back(std::string(info ? "base asked " : "base ") + std::to_string(id));
    return FALSE;
  }
};

TEST(MessageProcessor, TheChainComesFirstAndTheBaseHandlerGetsWhatItLeaves) {
  Base base;
  CWnd window;
  MFCA::Private::WndMessageProcessor<WndMessageHandlerChain> windows;
  EXPECT_TRUE(windows.GetChain().HasMessageDispatcher(&windows.GetDefaultDispatcher()));
  int moves = 0;
  windows.GetDefaultDispatcher().SetMessageHandlerFunctor(WM_MOUSEMOVE, new WndMessageFunction([&](const WndMessage&) {
    ++moves;
    return true;
  }));
  LRESULT result = 0;
  EXPECT_EQ(windows.ProcessWndMessage(window, WM_MOUSEMOVE, 0, 0, &result, base), TRUE);
  EXPECT_EQ(windows.ProcessWndMessage(window, WM_KEYDOWN, 0, 0, &result, base), TRUE);
  EXPECT_EQ(moves, 1);
  EXPECT_EQ(result, 42);
  EXPECT_EQ(base.log, (Calls{"base " + std::to_string(WM_KEYDOWN)}));

  // Commands: a handled command stops in the chain; a question is answered there without
  // running the handler when questions are offered, and goes straight on otherwise.
  CCmdTarget target;
  int runs = 0;
  for (const bool offer : {true, false}) {
    base.log.clear();
    MFCA::Private::CmdMessageProcessor<MFCA::CmdMessageHandlerChain> commands(offer);
    commands.GetDefaultDispatcher().SetCommandHandlerFunctor(100, new MFCA::CmdMessageFunction([&](const MFCA::CmdMessage&) {
      ++runs;
      return true;
    }));
    AFX_CMDHANDLERINFO info;
    EXPECT_EQ(commands.ProcessCmdMessage(target, 100, 0, nullptr, nullptr, base), TRUE);
    EXPECT_EQ(commands.ProcessCmdMessage(target, 100, 0, nullptr, &info, base), offer ? TRUE : FALSE);
    EXPECT_EQ(commands.ProcessCmdMessage(target, 101, 0, nullptr, nullptr, base), FALSE);
    EXPECT_EQ(base.log, offer ? (Calls{"base 101"}) : (Calls{"base asked 100", "base 101"}));
  }
  EXPECT_EQ(runs, 2) << "questions never run the handler";
}

}  // namespace
