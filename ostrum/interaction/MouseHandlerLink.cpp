// Every document gets a real mouse handler: the document's link is filled when the library
// loads.

#include "ostrum/document/private/MouseHandlerLink.h"
#include "ostrum/interaction/UIMouseHandler.h"

namespace {

const bool g_linked = [] {
  Ostrum::Private::g_mouse_handler_link.make = []() -> UIMouseHandler* { return new UIMouseHandler(); };
  Ostrum::Private::g_mouse_handler_link.destroy = [](UIMouseHandler* handler) { delete handler; };
  return true;
}();

}  // namespace
