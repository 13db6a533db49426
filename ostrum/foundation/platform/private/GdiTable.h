#pragma once
// The table behind GdiObjects.h: what each GDI object holds, and the handle counter that GDI
// objects and device contexts share, so that no two handles of any kind are ever equal.

#include <cstdint>
#include <memory>

#include "ostrum/foundation/platform/GdiObjects.h"

namespace Ostrum::Desktop::Private {

/// A GDI object. Device contexts keep the object they draw with by a shared pointer, so
/// deleting its handle never pulls it from under a drawing.
struct GdiObject {
  enum class Kind { Bitmap, Pen, Brush, Font };
  Kind kind = Kind::Pen;
  bool stock = false;
  BitmapPixels bitmap;   // Bitmap
  int pen_style = PS_SOLID;  // Pen
  int pen_width = 1;
  UINT brush_style = BS_SOLID;  // Brush
  COLORREF color = 0;       // Pen, Brush
  LOGFONTW font;            // Font
};

/// The object of a handle (a system colour's brush for 1 to 31); null for none.
std::shared_ptr<const GdiObject> FindGdiObject(HGDIOBJ handle);
/// A new handle, never given before, for a GDI object or a device context.
uintptr_t NextGdiHandle();
/// Called by DeleteObject once a handle is gone: the framework objects standing in for it
/// (CGdiObject::FromHandle) are dropped on the calling thread.
void ForgetGdiObjectWrapper(HGDIOBJ handle);

}  // namespace Ostrum::Desktop::Private
