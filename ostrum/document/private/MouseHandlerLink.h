#pragma once
// The document makes and destroys its mouse handler, whose class lies above it (with the
// windows and tools): the module of the mouse tools fills these when the library loads. Empty,
// a document has no mouse handler.

class UIMouseHandler;

namespace Ostrum::Private {

struct MouseHandlerLink {
  /// A handler with no mouse strategy.
  UIMouseHandler* (*make)() = nullptr;
  void (*destroy)(UIMouseHandler* handler) = nullptr;
};

extern MouseHandlerLink g_mouse_handler_link;

}  // namespace Ostrum::Private
