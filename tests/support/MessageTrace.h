#pragma once
// MessageTrace: every message that procedures of the test's thread receive while the trace
// lives, in order, with how it came (sent or dispatched) and how deeply it nested. Windows get
// labels so that a whole sequence compares as text: "view:WM_LBUTTONDOWN".

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "ostrum/foundation/platform/MessageObserver.h"
#include "ostrum/foundation/platform/WinMessages.h"

/// The name of a message number, as the desktop's headers spell it; hex for others.
inline std::string MessageName(UINT message) {
  static const std::map<UINT, const char*> names = {
      {WM_CREATE, "WM_CREATE"}, {WM_DESTROY, "WM_DESTROY"}, {WM_MOVE, "WM_MOVE"}, {WM_SIZE, "WM_SIZE"},
      {WM_ACTIVATE, "WM_ACTIVATE"}, {WM_SETFOCUS, "WM_SETFOCUS"}, {WM_KILLFOCUS, "WM_KILLFOCUS"},
      {WM_ENABLE, "WM_ENABLE"}, {WM_SETTEXT, "WM_SETTEXT"}, {WM_GETTEXT, "WM_GETTEXT"},
      {WM_GETTEXTLENGTH, "WM_GETTEXTLENGTH"}, {WM_PAINT, "WM_PAINT"}, {WM_CLOSE, "WM_CLOSE"},
      {WM_QUIT, "WM_QUIT"}, {WM_ERASEBKGND, "WM_ERASEBKGND"}, {WM_SHOWWINDOW, "WM_SHOWWINDOW"},
      {WM_ACTIVATEAPP, "WM_ACTIVATEAPP"}, {WM_CANCELMODE, "WM_CANCELMODE"}, {WM_SETCURSOR, "WM_SETCURSOR"},
      {WM_MOUSEACTIVATE, "WM_MOUSEACTIVATE"}, {WM_CONTEXTMENU, "WM_CONTEXTMENU"}, {WM_NCCREATE, "WM_NCCREATE"},
      {WM_NCDESTROY, "WM_NCDESTROY"}, {WM_NCCALCSIZE, "WM_NCCALCSIZE"}, {WM_NCPAINT, "WM_NCPAINT"},
      {WM_KEYDOWN, "WM_KEYDOWN"}, {WM_KEYUP, "WM_KEYUP"}, {WM_CHAR, "WM_CHAR"}, {WM_SYSKEYDOWN, "WM_SYSKEYDOWN"},
      {WM_SYSKEYUP, "WM_SYSKEYUP"}, {WM_SYSCHAR, "WM_SYSCHAR"}, {WM_COMMAND, "WM_COMMAND"},
      {WM_SYSCOMMAND, "WM_SYSCOMMAND"}, {WM_TIMER, "WM_TIMER"}, {WM_ENTERIDLE, "WM_ENTERIDLE"},
      {WM_MOUSEMOVE, "WM_MOUSEMOVE"}, {WM_LBUTTONDOWN, "WM_LBUTTONDOWN"}, {WM_LBUTTONUP, "WM_LBUTTONUP"},
      {WM_LBUTTONDBLCLK, "WM_LBUTTONDBLCLK"}, {WM_RBUTTONDOWN, "WM_RBUTTONDOWN"}, {WM_RBUTTONUP, "WM_RBUTTONUP"},
      {WM_RBUTTONDBLCLK, "WM_RBUTTONDBLCLK"}, {WM_MBUTTONDOWN, "WM_MBUTTONDOWN"}, {WM_MBUTTONUP, "WM_MBUTTONUP"},
      {WM_MBUTTONDBLCLK, "WM_MBUTTONDBLCLK"}, {WM_MOUSEWHEEL, "WM_MOUSEWHEEL"}, {WM_MOUSEHWHEEL, "WM_MOUSEHWHEEL"},
      {WM_CAPTURECHANGED, "WM_CAPTURECHANGED"}, {WM_INITMENUPOPUP, "WM_INITMENUPOPUP"}};
  auto it = names.find(message);
  if (it != names.end()) return it->second;
  char hex[16];
  std::snprintf(hex, sizeof hex, "0x%04X", message);
  return hex;
}

struct TracedMessage {
  HWND hwnd;
  UINT message;
  WPARAM wParam;
  LPARAM lParam;
  bool queued;
  int depth;
};

class MessageTrace {
 public:
  /// Traces every window of the thread; Label names those to be printed by name.
  MessageTrace() { m_previous = Ostrum::Desktop::SetMessageObserver(&Observe, this, &m_previous_context); }
  ~MessageTrace() { Ostrum::Desktop::SetMessageObserver(m_previous, m_previous_context); }
  MessageTrace(const MessageTrace&) = delete;
  MessageTrace& operator=(const MessageTrace&) = delete;

  /// Prints `hwnd` as `label`; with `only_labelled`, messages of unlabelled windows are left out.
  MessageTrace& Label(HWND hwnd, std::string label) {
    m_labels[hwnd] = std::move(label);
    return *this;
  }
  void OnlyLabelled(bool only = true) { m_only_labelled = only; }
  void Clear() { m_messages.clear(); }
  const std::vector<TracedMessage>& All() const { return m_messages; }

  /// "label:WM_NAME" for each message, except those in `left_out`.
  std::vector<std::string> Labelled(std::set<UINT> left_out = {}) const {
    std::vector<std::string> out;
    for (const TracedMessage& m : m_messages)
      if (!left_out.count(m.message)) out.push_back(LabelOf(m.hwnd) + ":" + MessageName(m.message));
    return out;
  }
  /// Only the messages in `kept`, labelled.
  std::vector<std::string> Only(std::set<UINT> kept) const {
    std::vector<std::string> out;
    for (const TracedMessage& m : m_messages)
      if (kept.count(m.message)) out.push_back(LabelOf(m.hwnd) + ":" + MessageName(m.message));
    return out;
  }
  /// The messages of one window, by name.
  std::vector<std::string> Names(HWND hwnd, std::set<UINT> left_out = {}) const {
    std::vector<std::string> out;
    for (const TracedMessage& m : m_messages)
      if (m.hwnd == hwnd && !left_out.count(m.message)) out.push_back(MessageName(m.message));
    return out;
  }
  /// The messages numbered `message`, in order.
  std::vector<TracedMessage> Of(UINT message, HWND hwnd = nullptr) const {
    std::vector<TracedMessage> out;
    for (const TracedMessage& m : m_messages)
      if (m.message == message && (!hwnd || m.hwnd == hwnd)) out.push_back(m);
    return out;
  }
  int Count(UINT message, HWND hwnd = nullptr) const { return static_cast<int>(Of(message, hwnd).size()); }

 private:
  std::string LabelOf(HWND hwnd) const {
    auto it = m_labels.find(hwnd);
    if (it != m_labels.end()) return it->second;
    char text[32];
    std::snprintf(text, sizeof text, "%p", static_cast<void*>(hwnd));
    return text;
  }
  static void Observe(const Ostrum::Desktop::ObservedMessage& m, void* context) {
    auto* self = static_cast<MessageTrace*>(context);
    if (self->m_previous) self->m_previous(m, self->m_previous_context);
    if (self->m_only_labelled && !self->m_labels.count(m.hwnd)) return;
    self->m_messages.push_back(TracedMessage{m.hwnd, m.message, m.wParam, m.lParam, m.queued, m.depth});
  }

  std::vector<TracedMessage> m_messages;
  std::map<HWND, std::string> m_labels;
  bool m_only_labelled = false;
  Ostrum::Desktop::MessageObserver m_previous = nullptr;
  void* m_previous_context = nullptr;
};

using Trace = std::vector<std::string>;
