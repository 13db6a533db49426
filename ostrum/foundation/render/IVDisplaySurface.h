#pragma once
// IVDisplaySurface: the image a renderer draws a window's frames into, and the way it reaches
// the window.

#include "ostrum/Export.h"
#include "ostrum/foundation/geometry/MColor.h"
#include "ostrum/foundation/platform/WinTypes.h"

class CDC;

class OSTRUM_API IVDisplaySurface {
 public:
  virtual ~IVDisplaySurface();

  /// Gives the surface the size of `rect` (window client pixels); `force` resizes even to the
  /// same size. `dc` is the window's device context, if the renderer wants it.
  virtual void Resize(const RECT& rect, bool force, HDC dc) = 0;
  /// Fills the image with `color`, and clears depth and stencil as asked.
  virtual void Clear(const MColor& color, bool depth, bool stencil) = 0;
  /// True when the finished frame lies in a bitmap that 2D drawing can use (GetBitmapDC).
  virtual bool HasBitmapDC() = 0;
  /// The device context of that bitmap; null without one.
  virtual CDC* GetBitmapDC() = 0;
  /// Shows the finished frame in the window through `dc`.
  virtual void Present(CDC& dc) = 0;

 protected:
  IVDisplaySurface() = default;
  IVDisplaySurface(const IVDisplaySurface&) = delete;
  IVDisplaySurface& operator=(const IVDisplaySurface&) = delete;
};
