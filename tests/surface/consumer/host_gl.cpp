// A host that draws with the installed OpenGL renderer: a software renderer, a 16 x 16 surface
// cleared to a colour and a rectangle drawn over it in 2D, read back and checked.

#include <cstdio>
#include <memory>
#include <string>

#include "ostrum/foundation/render/IVRender2D.h"
#include "ostrum/gl/OstrumGL.h"

int main() {
  std::string why;
  std::unique_ptr<IVRender> render = Ostrum::GL::CreateRender(RENDER_TYPE_SOFTWARE, &why);
  if (!render) {
    std::printf("host_gl: the OpenGL renderer could not start: %s\n", why.c_str());
    return 1;
  }
  std::unique_ptr<IVDisplaySurface> surface(render->CreateDisplaySurface(nullptr));
  surface->Resize(RECT{0, 0, 16, 16}, true, nullptr);
  if (!render->StartFrame(surface.get(), nullptr, false)) return 1;
  surface->Clear(MColor(0, 0, 1, 1), true, true);
  render->StopFrame();
  std::unique_ptr<IVRender2D> r2d(render->CreateRender2D());
  r2d->Start2DDrawing(surface->GetBitmapDC());
  r2d->DrawRectangle(0, 0, 8, 16, MColor(1, 0, 0, 1), true);
  r2d->Stop2DDrawing();
  Ostrum::GL::Image image;
  if (!Ostrum::GL::CaptureSurface(*surface, image)) return 1;
  const bool ok = image.At(2, 8)[0] == 255 && image.At(2, 8)[2] == 0 && image.At(12, 8)[0] == 0 && image.At(12, 8)[2] == 255;
  std::printf("host_gl: %s, left half red and right half blue: %s\n", Ostrum::GL::DescribeRender(*render).c_str(),
              ok ? "yes" : "no");
  r2d.reset();
  surface.reset();
  return ok ? 0 : 1;
}
