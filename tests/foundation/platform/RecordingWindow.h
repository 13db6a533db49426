#pragma once
// A window class for tests whose procedure records every message it receives on the thread,
// with the model clock at the time, and can be given a reaction per test.

#include <functional>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "ostrum/foundation/platform/TickCount.h"
#include "ostrum/foundation/platform/Window.h"
#include "ostrum/foundation/platform/WindowClass.h"
#include "ostrum/foundation/platform/WinMessages.h"

struct Received {
  HWND hwnd;
  UINT message;
  WPARAM wParam;
  LPARAM lParam;
  DWORD tick;
  friend bool operator==(const Received& a, const Received& b) {
    return a.hwnd == b.hwnd && a.message == b.message && a.wParam == b.wParam;
  }
  friend std::ostream& operator<<(std::ostream& out, const Received& r) {
    return out << "{hwnd " << r.hwnd << " msg 0x" << std::hex << r.message << std::dec << " w " << r.wParam
               << " @" << r.tick << "}";
  }
};

/// Messages received by RecordingProc on this thread, in order.
inline thread_local std::vector<Received> t_received;
/// A per-test reaction: answers a result to return instead of DefWindowProcW's.
inline thread_local std::function<std::optional<LRESULT>(HWND, UINT, WPARAM, LPARAM)> t_reaction;

inline LRESULT CALLBACK RecordingProc(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam) {
  t_received.push_back({hwnd, message, wParam, lParam, GetTickCount()});
  if (t_reaction) {
    if (auto result = t_reaction(hwnd, message, wParam, lParam)) return *result;
  }
  return DefWindowProcW(hwnd, message, wParam, lParam);
}

/// Registers a class with RecordingProc for the life of the object and clears the record.
class RecordingClass {
 public:
  explicit RecordingClass(std::wstring name) : m_name(std::move(name)) {
    WNDCLASSEXW wc;
    wc.lpfnWndProc = RecordingProc;
    wc.lpszClassName = m_name.c_str();
    m_atom = RegisterClassExW(&wc);
    t_received.clear();
    t_reaction = nullptr;
  }
  ~RecordingClass() {
    t_reaction = nullptr;
    UnregisterClassW(m_name.c_str(), nullptr);
  }
  RecordingClass(const RecordingClass&) = delete;
  RecordingClass& operator=(const RecordingClass&) = delete;

  const wchar_t* Name() const { return m_name.c_str(); }
  ATOM Atom() const { return m_atom; }
  /// A message-only window of the class.
  HWND MessageOnly() const {
    return CreateWindowExW(0, m_name.c_str(), nullptr, 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, nullptr, nullptr);
  }
  HWND Child(HWND parent) const {
    return CreateWindowExW(0, m_name.c_str(), L"child", WS_CHILD, 0, 0, 10, 10, parent, nullptr, nullptr, nullptr);
  }

 private:
  std::wstring m_name;
  ATOM m_atom = 0;
};

/// The message numbers received, in order, for comparing whole sequences.
inline std::vector<UINT> ReceivedMessages(HWND only = nullptr) {
  std::vector<UINT> numbers;
  for (const Received& r : t_received)
    if (!only || r.hwnd == only) numbers.push_back(r.message);
  return numbers;
}
