#pragma once
// The messages that pass along the application's chains: a window message with the window it
// is for, and a command with its target. Handlers read them and may set a window message's
// result; WndMessageTraitsBase turns a handler's answer into the chain's.

#include "ostrum/Export.h"
#include "ostrum/foundation/platform/WinTypes.h"

class CCmdTarget;
class CWnd;
struct AFX_CMDHANDLERINFO;

namespace MFCA {

class OSTRUM_API WndMessage {
 public:
  WndMessage(CWnd& window, UINT message, WPARAM wParam, LPARAM lParam, LRESULT* result)
      : m_window(window), m_message(message), m_wParam(wParam), m_lParam(lParam), m_result(result) {}
  CWnd& GetWindow() const { return m_window; }
  UINT GetMessage() const { return m_message; }
  WPARAM GetWParam() const { return m_wParam; }
  LPARAM GetLParam() const { return m_lParam; }
  /// Where the window procedure's answer goes; may be null.
  LRESULT* GetResult() const { return m_result; }
  void SetResult(LRESULT value) const {
    if (m_result) *m_result = value;
  }

 private:
  CWnd& m_window;
  UINT m_message;
  WPARAM m_wParam;
  LPARAM m_lParam;
  LRESULT* m_result;
};

class OSTRUM_API CmdMessage {
 public:
  CmdMessage(CCmdTarget& target, UINT id, int code, void* extra, AFX_CMDHANDLERINFO* info)
      : m_target(target), m_id(id), m_code(code), m_extra(extra), m_info(info) {}
  CCmdTarget& GetTarget() const { return m_target; }
  UINT GetID() const { return m_id; }
  int GetCode() const { return m_code; }
  void* GetExtra() const { return m_extra; }
  /// Set when the question is only who would handle the command: nothing is to run.
  AFX_CMDHANDLERINFO* GetHandlerInfo() const { return m_info; }

 private:
  CCmdTarget& m_target;
  UINT m_id;
  int m_code;
  void* m_extra;
  AFX_CMDHANDLERINFO* m_info;
};

/// How a handler's answer becomes the chain's: true consumes the message, which then goes no
/// further (not to later dispatchers, not to the window's own handling). A consumed message
/// that asks for an answer gets the one the window's default would give for "handled".
class OSTRUM_API WndMessageTraitsBase {
 public:
  static bool ProcessResult(const WndMessage& message, bool handled);
};

}  // namespace MFCA
