#pragma once
// IVRender2D: drawing in window pixels over a frame (y down): labels, rulers, markers.

#include "ostrum/Export.h"
#include "ostrum/foundation/geometry/MColor.h"

class CDC;

class OSTRUM_API IVRender2D {
 public:
  virtual ~IVRender2D();

  /// Begins 2D drawing into `dc` (the paint context, or the surface's bitmap).
  virtual void Start2DDrawing(CDC* dc) = 0;
  virtual void Stop2DDrawing() = 0;
  /// True when 2D drawing must happen after the renderer's StopFrame, on the surface's bitmap;
  /// false when between start and stop of the frame, on the paint context.
  virtual bool DrawsAfterFrame() = 0;

  /// A line from (x0, y0) to (x1, y1), `width` pixels wide.
  virtual void DrawLine(float x0, float y0, float x1, float y1, const MColor& color, float width) = 0;
  /// The rectangle from (left, top) to (right, bottom), outlined or filled.
  virtual void DrawRectangle(float left, float top, float right, float bottom, const MColor& color, bool filled) = 0;
  /// Text whose baseline starts at (x, y), `pixel_height` pixels high.
  virtual void DrawText(float x, float y, const wchar_t* text, const MColor& color, float pixel_height) = 0;

 protected:
  IVRender2D() = default;
  IVRender2D(const IVRender2D&) = delete;
  IVRender2D& operator=(const IVRender2D&) = delete;
};
