// The 3D window drawn by the OpenGL renderer, headless: what the camera shows lands on the
// pixels it says, a scripted right-button drag turns the model the way the cursor went, and a
// clipping plane of the scene cuts the model.

#include <cmath>
#include <memory>

#include "GLTestSupport.h"
#include "support/Window3DHost.h"

namespace ostrum_gl_test {
namespace {

using wnd3d_test::Part;

/// The window with its surface readable, as a subclass reaches it.
class Captured3D : public UIWnd3D {
 public:
  Captured3D() : UIWnd3D(true, true) {}
  IVDisplaySurface* Surface() const { return m_display_surface; }
};

const MColor kCubeColor(0.2f, 0.4f, 0.9f, 1);
const MColor kMarkerColor(0.9f, 0.1f, 0.1f, 1);

class Window3DPixels : public wnd3d_test::Window3DHost {
 protected:
  static constexpr int kSize = 200;  // the client area, square

  void SetUp() override {
    Window3DHost::SetUp();
    Ostrum::GL::RegisterRenderers();
    ASSERT_TRUE(IVRenderFactory::SelectIVRender(RENDER_TYPE_SOFTWARE, false))
        << "the OpenGL renderer could not start, so no pixel can be checked: " << Ostrum::GL::GetLastError();
    cube = &Add(new Part(L"cube", {-10, -10, -10}, {10, 10, 10}, kCubeColor));
  }

  Captured3D& OpenWindow() {
    // One pixel of frame on each side.
    Captured3D& window = Open(std::make_unique<Captured3D>(), CRect(10, 10, 12 + kSize, 12 + kSize));
    doc.db().GetScene(static_cast<size_t>(window.GetActiveScene()))->SetBackgroundColor(MColor(0, 0, 0, 1));
    return window;
  }
  /// Draws the window anew and reads its surface.
  Image Capture(Captured3D& window) {
    window.InvalidateDisplaySurface();
    Paint(window);
    Image image;
    EXPECT_TRUE(window.Surface() && Ostrum::GL::CaptureSurface(*window.Surface(), image));
    return image;
  }
  /// The pixels of `color` in the image: how many, and their mean column and row.
  struct Ink {
    int count = 0;
    double x = 0, y = 0;
    int left = 1 << 30, right = -1, top = 1 << 30, bottom = -1;
  };
  static Ink Find(const Image& image, const MColor& color) {
    Ink ink;
    for (int y = 0; y < image.height; ++y)
      for (int x = 0; x < image.width; ++x)
        if (Near(PixelOf(image, x, y), Expected(color))) {
          ++ink.count;
          ink.x += x + 0.5;
          ink.y += y + 0.5;
          ink.left = std::min(ink.left, x);
          ink.right = std::max(ink.right, x + 1);
          ink.top = std::min(ink.top, y);
          ink.bottom = std::max(ink.bottom, y + 1);
        }
    if (ink.count) {
      ink.x /= ink.count;
      ink.y /= ink.count;
    }
    return ink;
  }

  Part* cube = nullptr;
};

TEST_F(Window3DPixels, TheCubeCoversThePixelsTheUnzoomedViewGivesIt) {
  Captured3D& window = OpenWindow();
  const Image image = Capture(window);
  ASSERT_EQ(image.width, kSize);
  ASSERT_EQ(image.height, kSize);
  // Fitted so that any turn of the cube still fits: the half diagonal, 10 * sqrt(3) mm, spans
  // half the window. The front face, 10 mm either way of the centre, covers 100 +- 100 / sqrt(3).
  const double half = 100.0 / std::sqrt(3.0);
  const Ink ink = Find(image, kCubeColor);
  EXPECT_NEAR(ink.left, 100 - half, 1.0);
  EXPECT_NEAR(ink.right, 100 + half, 1.0);
  EXPECT_NEAR(ink.top, 100 - half, 1.0);
  EXPECT_NEAR(ink.bottom, 100 + half, 1.0);
  EXPECT_NEAR(ink.count, 4 * half * half, 4 * 2 * half) << "a full square, no holes";
  EXPECT_TRUE(Near(PixelOf(image, 5, 5), Rgba{0, 0, 0, 255})) << "the scene's background: " << Describe(PixelOf(image, 5, 5));
}

TEST_F(Window3DPixels, ARightDragToTheRightTurnsTheFrontOfTheModelToTheRight) {
  // A red marker just in front of the cube's front face.
  Add(new Part(L"marker", {-2, -2, -10.5f}, {2, 2, -10.2f}, kMarkerColor));
  Captured3D& window = OpenWindow();
  const Ink before = Find(Capture(window), kMarkerColor);
  ASSERT_GT(before.count, 100);
  EXPECT_NEAR(before.x, 100, 1.0);
  EXPECT_NEAR(before.y, 100, 1.0);

  user.Drag(window.GetSafeHwnd(), {100, 100}, {140, 100}, {MouseButton::Right, 4});

  const Ink after = Find(Capture(window), kMarkerColor);
  ASSERT_GT(after.count, 50);
  // The camera says where the marker's centre went; the picture agrees, and it went right, not
  // up or down: three moves of 10 pixels turned the model by 27 degrees about the vertical.
  const MMPoint3d<float> centre = Pixel(window, 0, 0, -10.5f);
  EXPECT_NEAR(after.x, centre.x, 1.0);
  EXPECT_NEAR(after.y, 100, 1.0);
  const double scale = 100.0 / std::sqrt(10 * 10 * 2 + 10.25 * 10.25);  // pixels per mm after the fit
  EXPECT_NEAR(after.x - before.x, scale * 10.5 * std::sin(27.0 * 3.14159265358979 / 180.0), 1.5);
  EXPECT_LT(after.right - after.left, before.right - before.left) << "seen at a slant now";
}

TEST_F(Window3DPixels, AClippingPlaneOfTheSceneCutsAwayTheNegativeSide) {
  Captured3D& window = OpenWindow();
  MSceneEx& scene = *doc.db().GetScene(static_cast<size_t>(window.GetActiveScene()));
  scene.SetClippingPlaneXAtAbsolute(0);
  scene.EnableClippingPlaneX(true);
  const Image cut = Capture(window);
  const double half = 100.0 / std::sqrt(3.0);
  const Ink ink = Find(cut, kCubeColor);
  EXPECT_NEAR(ink.left, 100, 1.0) << "nothing left of x = 0";
  EXPECT_NEAR(ink.right, 100 + half, 1.0);
  EXPECT_TRUE(scene.IsPointClipped(-5, 0, 0));
  EXPECT_TRUE(window.IsPointClipped(60, 100, 0)) << "the window point left of the centre";
  EXPECT_FALSE(window.IsPointClipped(140, 100, 0));
  // Reversed, the other half stays; disabled, the whole cube is back.
  scene.ToggleClippingPlaneX();
  const Ink reversed = Find(Capture(window), kCubeColor);
  EXPECT_NEAR(reversed.left, 100 - half, 1.0);
  EXPECT_NEAR(reversed.right, 100, 1.0);
  scene.EnableClippingPlaneX(false);
  const Ink whole = Find(Capture(window), kCubeColor);
  EXPECT_NEAR(whole.left, 100 - half, 1.0);
  EXPECT_NEAR(whole.right, 100 + half, 1.0);
}

}  // namespace
}  // namespace ostrum_gl_test
