#pragma once
// Handlers of the chains' messages: a dispatcher keeps one functor per window message (or per
// command) and calls it with the message; true consumes it. The adapters below turn a window
// message into the arguments a handler wants (a point from lParam as two signed 16-bit halves,
// the key and its flags, the wheel's delta) and call a member function of an object.
//
// The window is handed over as the handler's window type without a run-time test: a chain is
// fed only by one class of window (the interactive windows), whose handlers name that class.

#include <functional>
#include <utility>

#include "ostrum/Export.h"
#include "ostrum/foundation/frameadapter/WndMessage.h"
#include "ostrum/foundation/platform/CPoint.h"

namespace MFCA {

class OSTRUM_API IWndMessageHandlerFunctor {
 public:
  virtual ~IWndMessageHandlerFunctor();
  /// True if the message is consumed.
  virtual bool operator()(const WndMessage& message) = 0;
};

class OSTRUM_API ICmdMessageHandlerFunctor {
 public:
  virtual ~ICmdMessageHandlerFunctor();
  /// Runs the command; true if it is handled.
  virtual bool operator()(const CmdMessage& message) = 0;
};

/// Any callable taking the message.
class OSTRUM_API WndMessageFunction : public IWndMessageHandlerFunctor {
 public:
  explicit WndMessageFunction(std::function<bool(const WndMessage&)> function) : m_function(std::move(function)) {}
  bool operator()(const WndMessage& message) override {
    return WndMessageTraitsBase::ProcessResult(message, m_function && m_function(message));
  }

 private:
  std::function<bool(const WndMessage&)> m_function;
};

class OSTRUM_API CmdMessageFunction : public ICmdMessageHandlerFunctor {
 public:
  explicit CmdMessageFunction(std::function<bool(const CmdMessage&)> function) : m_function(std::move(function)) {}
  bool operator()(const CmdMessage& message) override { return m_function && m_function(message); }

 private:
  std::function<bool(const CmdMessage&)> m_function;
};

/// WM_MOUSEMOVE and the like: bool (Object::*)(Window&, const CPoint&).
template <class Window, class Object>
class MouseMessageHandler : public IWndMessageHandlerFunctor {
 public:
  using Member = bool (Object::*)(Window&, const CPoint&);
  MouseMessageHandler(Object& object, Member member) : m_object(object), m_member(member) {}
  bool operator()(const WndMessage& message) override {
    const CPoint point(GET_X_LPARAM(message.GetLParam()), GET_Y_LPARAM(message.GetLParam()));
    return WndMessageTraitsBase::ProcessResult(message,
                                               (m_object.*m_member)(static_cast<Window&>(message.GetWindow()), point));
  }

 private:
  Object& m_object;
  Member m_member;
};

/// Buttons: bool (Object::*)(Window&, UINT flags, const CPoint&), the flags being MK_* of wParam.
template <class Window, class Object>
class ButtonMessageHandler : public IWndMessageHandlerFunctor {
 public:
  using Member = bool (Object::*)(Window&, UINT, const CPoint&);
  ButtonMessageHandler(Object& object, Member member) : m_object(object), m_member(member) {}
  bool operator()(const WndMessage& message) override {
    const CPoint point(GET_X_LPARAM(message.GetLParam()), GET_Y_LPARAM(message.GetLParam()));
    return WndMessageTraitsBase::ProcessResult(
        message, (m_object.*m_member)(static_cast<Window&>(message.GetWindow()), static_cast<UINT>(message.GetWParam()),
                                      point));
  }

 private:
  Object& m_object;
  Member m_member;
};

/// Keys: bool (Object::*)(Window&, UINT key, UINT repeat, UINT flags), from wParam and the
/// repeat count (low word) and flags (high word) of lParam.
template <class Window, class Object>
class KeyMessageHandler : public IWndMessageHandlerFunctor {
 public:
  using Member = bool (Object::*)(Window&, UINT, UINT, UINT);
  KeyMessageHandler(Object& object, Member member) : m_object(object), m_member(member) {}
  bool operator()(const WndMessage& message) override {
    const auto packed = static_cast<uintptr_t>(message.GetLParam());
    return WndMessageTraitsBase::ProcessResult(
        message, (m_object.*m_member)(static_cast<Window&>(message.GetWindow()), static_cast<UINT>(message.GetWParam()),
                                      LOWORD(packed), HIWORD(packed)));
  }

 private:
  Object& m_object;
  Member m_member;
};

/// The wheel: bool (Object::*)(Window&, UINT flags, short delta, const CPoint& screen_point).
template <class Window, class Object>
class WheelMessageHandler : public IWndMessageHandlerFunctor {
 public:
  using Member = bool (Object::*)(Window&, UINT, short, const CPoint&);
  WheelMessageHandler(Object& object, Member member) : m_object(object), m_member(member) {}
  bool operator()(const WndMessage& message) override {
    const auto packed = static_cast<uintptr_t>(message.GetWParam());
    const CPoint point(GET_X_LPARAM(message.GetLParam()), GET_Y_LPARAM(message.GetLParam()));
    return WndMessageTraitsBase::ProcessResult(
        message, (m_object.*m_member)(static_cast<Window&>(message.GetWindow()), LOWORD(packed),
                                      static_cast<short>(HIWORD(packed)), point));
  }

 private:
  Object& m_object;
  Member m_member;
};

/// Anything else: bool (Object::*)(Window&, WPARAM, LPARAM).
template <class Window, class Object>
class RawMessageHandler : public IWndMessageHandlerFunctor {
 public:
  using Member = bool (Object::*)(Window&, WPARAM, LPARAM);
  RawMessageHandler(Object& object, Member member) : m_object(object), m_member(member) {}
  bool operator()(const WndMessage& message) override {
    return WndMessageTraitsBase::ProcessResult(
        message,
        (m_object.*m_member)(static_cast<Window&>(message.GetWindow()), message.GetWParam(), message.GetLParam()));
  }

 private:
  Object& m_object;
  Member m_member;
};

/// The adapters, with the types deduced: MakeMouseHandler(*this, &Manager::_OnMouseMove).
template <class Window, class Object>
IWndMessageHandlerFunctor* MakeMouseHandler(Object& object, bool (Object::*member)(Window&, const CPoint&)) {
  return new MouseMessageHandler<Window, Object>(object, member);
}
template <class Window, class Object>
IWndMessageHandlerFunctor* MakeButtonHandler(Object& object, bool (Object::*member)(Window&, UINT, const CPoint&)) {
  return new ButtonMessageHandler<Window, Object>(object, member);
}
template <class Window, class Object>
IWndMessageHandlerFunctor* MakeKeyHandler(Object& object, bool (Object::*member)(Window&, UINT, UINT, UINT)) {
  return new KeyMessageHandler<Window, Object>(object, member);
}
template <class Window, class Object>
IWndMessageHandlerFunctor* MakeWheelHandler(Object& object, bool (Object::*member)(Window&, UINT, short, const CPoint&)) {
  return new WheelMessageHandler<Window, Object>(object, member);
}
template <class Window, class Object>
IWndMessageHandlerFunctor* MakeRawHandler(Object& object, bool (Object::*member)(Window&, WPARAM, LPARAM)) {
  return new RawMessageHandler<Window, Object>(object, member);
}

}  // namespace MFCA
