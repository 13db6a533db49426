// What the OpenGL renderer draws, pixel by pixel: transforms, depth, clipping planes,
// lighting, clearing, lines, points, 2D drawing and text.

#include <algorithm>
#include <vector>

#include "GLTestSupport.h"
#include "ostrum/foundation/render/IVRender2D.h"

namespace ostrum_gl_test {
namespace {

// A cube of edge 1 about the origin: 8 corners, 12 triangles.
struct Cube {
  float positions[24];
  std::uint32_t indices[36] = {0, 1, 2, 0, 2, 3, 4, 6, 5, 4, 7, 6, 0, 4, 5, 0, 5, 1,
                               1, 5, 6, 1, 6, 2, 2, 6, 7, 2, 7, 3, 3, 7, 4, 3, 4, 0};
  Cube() {
    for (int i = 0; i < 8; ++i) {
      positions[3 * i] = (i == 1 || i == 2 || i == 5 || i == 6) ? 0.5f : -0.5f;
      positions[3 * i + 1] = (i == 2 || i == 3 || i == 6 || i == 7) ? 0.5f : -0.5f;
      positions[3 * i + 2] = i >= 4 ? 0.5f : -0.5f;
    }
  }
  IVMesh Mesh() const {
    IVMesh mesh;
    mesh.positions = positions;
    mesh.vertex_count = 8;
    mesh.indices = indices;
    mesh.index_count = 36;
    return mesh;
  }
};

// Checks that the pixels of `image` in colour `ink` are exactly those of the rectangle of
// pixel edges [left, right] x [top, bottom], give or take the one pixel along its border.
void ExpectRectangle(const Image& image, double left, double top, double right, double bottom, const Rgba& ink) {
  int inside_wrong = 0, outside_wrong = 0;
  for (int y = 0; y < image.height; ++y)
    for (int x = 0; x < image.width; ++x) {
      const double cx = x + 0.5, cy = y + 0.5;
      const bool surely_in = cx > left + 1 && cx < right - 1 && cy > top + 1 && cy < bottom - 1;
      const bool surely_out = cx < left - 1 || cx > right + 1 || cy < top - 1 || cy > bottom + 1;
      const bool inked = Near(PixelOf(image, x, y), ink);
      if (surely_in && !inked) ++inside_wrong;
      if (surely_out && inked) ++outside_wrong;
    }
  EXPECT_EQ(inside_wrong, 0) << "pixels inside [" << left << ", " << right << "] x [" << top << ", " << bottom
                             << "] without the ink";
  EXPECT_EQ(outside_wrong, 0) << "pixels outside that rectangle with the ink";
}

TEST_F(GLPixelTest, TheClearColourFillsAnEmptyFrameAndTheCaptureIsTopRowFirst) {
  const MColor background(0.2f, 0.4f, 0.6f, 1.0f);
  const Image image = Frame([](IVRender&) {}, background);
  ASSERT_EQ(image.width, kWidth);
  ASSERT_EQ(image.height, kHeight);
  EXPECT_EQ(Count(image, 0, 0, kWidth, kHeight, [&](const Rgba& p) { return Near(p, Expected(background), 1); }),
            kWidth * kHeight);

  // A quad over the upper half only: the capture's first rows are the image's top.
  const Quad upper(-2, 0, 2, 2, 0);
  auto mesh = Mesh(upper.Mesh());
  ASSERT_TRUE(mesh);
  const MColor red(1, 0, 0, 1);
  const Image halves = Frame([&](IVRender& r) {
    r.SetColorFront(red);
    r.DrawMesh(*mesh);
  });
  EXPECT_TRUE(Near(PixelOf(halves, 10, 2), Expected(red)));
  EXPECT_TRUE(Near(PixelOf(halves, 10, kHeight - 3), {0, 0, 0, 255}));
}

TEST_F(GLPixelTest, AUnitCubeUnderModelViewAndOrthographicProjectionCoversItsRectangle) {
  Cube cube;
  auto mesh = Mesh(cube.Mesh());
  ASSERT_TRUE(mesh);
  EXPECT_EQ(mesh->GetTriangleCount(), 12u);
  // Model: scale x by 2, then move by (0.25, 0.5, 1); view: move the world by (-0.5, -0.25, 0).
  // The cube then spans x in [-1.25, 0.75], y in [-0.25, 0.75] of the eye.
  MMTransformMatrix model, move, view;
  model.MakeScale3D(2.0, 1.0, 1.0);
  move.MakeTranslation(MMPoint3d<double>(0.25, 0.5, 1.0));
  model.PreMultiply(move);
  view.MakeTranslation(MMPoint3d<double>(-0.5, -0.25, 0.0));
  const MColor green(0, 1, 0, 1);
  const Image image = Frame([&](IVRender& r) {
    r.SetModelTransform(Floats16(model));
    r.SetViewTransform(Floats16(view));
    r.SetColorFront(green);
    r.DrawMesh(*mesh);
  });
  ExpectRectangle(image, Column(-1.25), Row(0.75), Column(0.75), Row(-0.25), Expected(green));
}

TEST_F(GLPixelTest, AUnitCubeInPerspectiveCoversTheRectangleOfItsProjectedCorners) {
  Cube cube;
  auto mesh = Mesh(cube.Mesh());
  ASSERT_TRUE(mesh);
  MMTransformMatrix model, projection;
  model.MakeTranslation(MMPoint3d<double>(0.0, 0.0, 3.0));
  projection.MakePerspectiveProjection(-2, 2, 2, -2, 8, 1, 40);
  // The cube sits on the axis of the view, so its outline is the square of its near face; the
  // test projects all eight corners itself.
  double left = 1e9, right = -1e9, top = 1e9, bottom = -1e9;
  for (int i = 0; i < 8; ++i) {
    const double p[4] = {cube.positions[3 * i], cube.positions[3 * i + 1], cube.positions[3 * i + 2] + 3.0, 1.0};
    double q[4];
    for (int row = 0; row < 4; ++row) {
      q[row] = 0;
      for (int k = 0; k < 4; ++k) q[row] += projection.GetElement(row, k) * p[k];
    }
    const double x = (q[0] / q[3] + 1) / 2 * kWidth, y = (1 - q[1] / q[3]) / 2 * kHeight;
    left = std::min(left, x), right = std::max(right, x), top = std::min(top, y), bottom = std::max(bottom, y);
  }
  ASSERT_GT(right - left, 10.0) << "the test's own projection should show the cube well";
  const MColor blue(0, 0, 1, 1);
  const Image image = Frame([&](IVRender& r) {
    r.SetModelTransform(Floats16(model));
    r.SetProjectionTransform(Floats16(projection));
    r.SetColorFront(blue);
    r.DrawMesh(*mesh);
  });
  ExpectRectangle(image, left, top, right, bottom, Expected(blue));
}

TEST_F(GLPixelTest, DepthHidesTheFartherOfTwoOverlappingQuadsUnlessTheTestIsOff) {
  // The eye looks along +z: the quad at z = -1 is nearer than the one at z = 1.
  const Quad near_quad(-1.5, -1.5, 0.5, 0.5, -1), far_quad(-0.5, -0.5, 1.5, 1.5, 1);
  auto near_mesh = Mesh(near_quad.Mesh());
  auto far_mesh = Mesh(far_quad.Mesh());
  ASSERT_TRUE(near_mesh && far_mesh);
  const MColor red(1, 0, 0, 1), yellow(1, 1, 0, 1);
  auto draw = [&](bool depth_test) {
    return Frame([&](IVRender& r) {
      r.EnableDepth(depth_test, true);
      r.SetColorFront(red);
      r.DrawMesh(*near_mesh);
      r.SetColorFront(yellow);
      r.DrawMesh(*far_mesh);  // drawn last, but behind
    });
  };
  const int overlap_x = static_cast<int>(Column(0)), overlap_y = static_cast<int>(Row(0));
  const Image tested = draw(true);
  EXPECT_TRUE(Near(PixelOf(tested, overlap_x, overlap_y), Expected(red)))
      << "the overlap shows " << Describe(PixelOf(tested, overlap_x, overlap_y));
  EXPECT_TRUE(Near(PixelOf(tested, static_cast<int>(Column(1)), static_cast<int>(Row(1))), Expected(yellow)));
  const Image untested = draw(false);
  EXPECT_TRUE(Near(PixelOf(untested, overlap_x, overlap_y), Expected(yellow)));
}

TEST_F(GLPixelTest, AClippingPlaneRemovesTheHalfOnItsNegativeSideInWorldCoordinates) {
  const Quad everything(-3, -2, 3, 2, 0);
  auto mesh = Mesh(everything.Mesh());
  ASSERT_TRUE(mesh);
  ASSERT_GE(m_render->GetNumClippingPlanes(), 3);
  const MColor white(1, 1, 1, 1);
  const Rgba ink = Expected(white), none{0, 0, 0, 255};
  MMTransformMatrix view;
  view.MakeTranslation(MMPoint3d<double>(0.5, 0, 0));  // world x = 0 lands on eye x = 0.5
  auto draw = [&](bool enabled) {
    return Frame([&](IVRender& r) {
      r.SetViewTransform(Floats16(view));
      r.SetClippingPlane(2, 1, 0, 0, 0);  // keeps world x > 0
      r.EnableClippingPlane(2, enabled);
      r.SetColorFront(white);
      r.DrawMesh(*mesh);
      const float line[6] = {-1.5f, -1.75f, 0, 1.0f, -1.75f, 0};
      r.DrawLines(line, 2, 3);
    });
  };
  const Image first_whole = draw(false);
  EXPECT_EQ(Count(first_whole, 0, 0, kWidth, kHeight, [&](const Rgba& p) { return Near(p, ink); }), kWidth * kHeight);
  const Image clipped = draw(true);
  const int cut = static_cast<int>(std::lround(Column(0.5)));
  EXPECT_EQ(Count(clipped, 0, 0, cut - 1, kHeight, [&](const Rgba& p) { return Near(p, none); }), (cut - 1) * kHeight)
      << "the half with x < 0 in the world must be gone, the line's part with it";
  EXPECT_EQ(Count(clipped, cut + 1, 0, kWidth, kHeight, [&](const Rgba& p) { return Near(p, ink); }),
            (kWidth - cut - 1) * kHeight);
  const Image whole = draw(false);
  EXPECT_EQ(Count(whole, 0, 0, kWidth, kHeight, [&](const Rgba& p) { return Near(p, ink); }), kWidth * kHeight);
}

TEST_F(GLPixelTest, LightingDarkensAFaceTurnedAwayByTheCosineOfItsTurn) {
  const float ambient = 0.25f, diffuse = 0.5f;
  const MColor base(0.8f, 0.6f, 1.0f, 1.0f);
  // Three quads side by side, their normals towards the viewer (-z in this eye), turned 60
  // degrees from it, and away from it; a fourth without normals (its own face normal: front).
  const float c60 = 0.5f, s60 = std::sqrt(3.0f) / 2;
  const float facing[12] = {0, 0, -1, 0, 0, -1, 0, 0, -1, 0, 0, -1};
  const float turned[12] = {s60, 0, -c60, s60, 0, -c60, s60, 0, -c60, s60, 0, -c60};
  const float away[12] = {0, 0, 1, 0, 0, 1, 0, 0, 1, 0, 0, 1};
  const Quad q1(-2, 0, -1, 2, 0), q2(-1, 0, 0, 2, 0), q3(0, 0, 1, 2, 0), q4(1, 0, 2, 2, 0);
  auto m1 = Mesh(q1.Mesh(facing)), m2 = Mesh(q2.Mesh(turned)), m3 = Mesh(q3.Mesh(away)), m4 = Mesh(q4.Mesh());
  ASSERT_TRUE(m1 && m2 && m3 && m4);
  const Image image = Frame([&](IVRender& r) {
    r.EnableLighting(true);
    r.SetGlobalAmbient(ambient, ambient, ambient);
    r.SetGlobalDiffuse(diffuse, diffuse, diffuse);
    r.SetGlobalSpecular(0, 0, 0);
    r.SetColorFront(base);
    for (auto* m : {&m1, &m2, &m3, &m4}) r.DrawMesh(**m);
  });
  auto lit = [&](float cosine) {
    const float k = ambient + diffuse * cosine;
    return MColor(base.r * k, base.g * k, base.b * k, 1);
  };
  const int row = static_cast<int>(Row(1));
  const Rgba p1 = PixelOf(image, static_cast<int>(Column(-1.5)), row), p2 = PixelOf(image, static_cast<int>(Column(-0.5)), row);
  const Rgba p3 = PixelOf(image, static_cast<int>(Column(0.5)), row), p4 = PixelOf(image, static_cast<int>(Column(1.5)), row);
  EXPECT_TRUE(Near(p1, Expected(lit(1)))) << Describe(p1) << " against " << Describe(Expected(lit(1)));
  EXPECT_TRUE(Near(p2, Expected(lit(c60)))) << Describe(p2) << " against " << Describe(Expected(lit(c60)));
  EXPECT_TRUE(Near(p3, Expected(lit(0)))) << Describe(p3) << " against " << Describe(Expected(lit(0)));
  EXPECT_TRUE(Near(p4, Expected(lit(1)))) << Describe(p4) << " against " << Describe(Expected(lit(1)));
  // Unlit, the same quads show the front colour itself.
  const Image unlit = Frame([&](IVRender& r) {
    r.EnableLighting(false);
    r.SetColorFront(base);
    r.DrawMesh(*m3);
  });
  EXPECT_TRUE(Near(PixelOf(unlit, static_cast<int>(Column(0.5)), row), Expected(base)));
}

TEST_F(GLPixelTest, VertexColoursWinOverTheFrontColour) {
  const Quad quad(-2, -2, 2, 2, 0);
  const float colors[16] = {1, 0, 0, 1, 1, 0, 0, 1, 0, 0, 1, 1, 0, 0, 1, 1};  // red below, blue above
  auto mesh = Mesh(quad.Mesh(nullptr, colors));
  ASSERT_TRUE(mesh);
  const Image image = Frame([&](IVRender& r) {
    r.SetColorFront(MColor(0, 1, 0, 1));
    r.DrawMesh(*mesh);
  });
  const Rgba bottom = PixelOf(image, kWidth / 2, kHeight - 1), top = PixelOf(image, kWidth / 2, 0);
  EXPECT_GT(bottom.r, 240);
  EXPECT_LT(bottom.b, 15);
  EXPECT_GT(top.b, 240);
  EXPECT_LT(top.r, 15);
  EXPECT_EQ(Count(image, 0, 0, kWidth, kHeight, [](const Rgba& p) { return p.g > 0; }), 0);
}

TEST_F(GLPixelTest, LinesAndPointsLandWhereTheTransformsPutThemAtTheirWidths) {
  const MColor white(1, 1, 1, 1);
  const Rgba ink = Expected(white);
  const Image image = Frame([&](IVRender& r) {
    r.SetColorFront(white);
    const float line[6] = {-1.5f, 1.0f, 0, 1.5f, 1.0f, 0};  // row 16, 5 pixels wide
    r.DrawLines(line, 2, 5);
    const float points[6] = {-1.0f, -1.0f, 0, 1.0f, -1.0f, 0};  // (16, 48) and (48, 48), 6 pixels
    r.DrawPoints(points, 2, 6);
  });
  const int line_row = static_cast<int>(Row(1.0));
  // The line: 5 rows around row 16, from column 8 to 56.
  EXPECT_EQ(Count(image, 10, line_row - 2, 54, line_row + 2, [&](const Rgba& p) { return Near(p, ink); }), 44 * 4);
  EXPECT_EQ(Count(image, 10, line_row - 6, 54, line_row - 4, [&](const Rgba& p) { return Near(p, ink); }), 0);
  EXPECT_EQ(Count(image, 0, line_row - 3, 6, line_row + 3, [&](const Rgba& p) { return Near(p, ink); }), 0);
  // Each point: a 6 x 6 square about its centre.
  for (int cx : {16, 48}) {
    EXPECT_EQ(Count(image, cx - 3, 45, cx + 3, 51, [&](const Rgba& p) { return Near(p, ink); }), 36) << cx;
    EXPECT_EQ(Count(image, cx - 6, 40, cx + 6, 56, [&](const Rgba& p) { return Near(p, ink); }), 36) << cx;
  }
}

TEST_F(GLPixelTest, TwoDimensionalDrawingLandsInWindowPixelsWithYDownOverTheFinishedFrame) {
  const MColor blue(0, 0, 1, 1), red(1, 0, 0, 1), white(1, 1, 1, 1);
  Frame([](IVRender&) {}, blue);
  std::unique_ptr<IVRender2D> r2d(m_render->CreateRender2D());
  ASSERT_TRUE(r2d);
  EXPECT_TRUE(r2d->DrawsAfterFrame());
  ASSERT_TRUE(m_surface->HasBitmapDC());
  r2d->Start2DDrawing(m_surface->GetBitmapDC());
  r2d->DrawRectangle(10, 4, 20, 12, red, true);
  r2d->DrawRectangle(30, 30, 50, 40, white, false);
  r2d->DrawLine(2, 60, 62, 60, white, 2);
  r2d->Stop2DDrawing();
  Image image;
  ASSERT_TRUE(Ostrum::GL::CaptureSurface(*m_surface, image));
  ExpectRectangle(image, 10, 4, 20, 12, Expected(red));
  // The outline: its border pixels only.
  EXPECT_TRUE(Near(PixelOf(image, 30, 35), Expected(white)));
  EXPECT_TRUE(Near(PixelOf(image, 49, 35), Expected(white)));
  EXPECT_TRUE(Near(PixelOf(image, 40, 30), Expected(white)));
  EXPECT_TRUE(Near(PixelOf(image, 40, 39), Expected(white)));
  EXPECT_TRUE(Near(PixelOf(image, 40, 35), Expected(blue)));
  EXPECT_TRUE(Near(PixelOf(image, 29, 35), Expected(blue)));
  EXPECT_TRUE(Near(PixelOf(image, 40, 40), Expected(blue)));
  // The line along y = 60, two pixels wide: rows 59 and 60.
  EXPECT_EQ(Count(image, 4, 59, 60, 61, [&](const Rgba& p) { return Near(p, Expected(white)); }), 56 * 2);
  EXPECT_EQ(Count(image, 4, 56, 60, 58, [&](const Rgba& p) { return Near(p, Expected(white)); }), 0);
}

TEST_F(GLPixelTest, TextLeavesInkWhereItWasPlacedAndNowhereElse) {
  const MColor background(0, 0, 0, 1), white(1, 1, 1, 1);
  auto inked = [](const Rgba& p) { return p.r > 64; };
  // 2D: baseline from (8, 40), 20 pixels high.
  Frame([](IVRender&) {}, background);
  std::unique_ptr<IVRender2D> r2d(m_render->CreateRender2D());
  r2d->Start2DDrawing(m_surface->GetBitmapDC());
  r2d->DrawText(8, 40, L"Hg", white, 20);
  r2d->Stop2DDrawing();
  Image image;
  ASSERT_TRUE(Ostrum::GL::CaptureSurface(*m_surface, image));
  const int ink = Count(image, 0, 0, kWidth, kHeight, inked);
  EXPECT_GT(ink, 40) << "the text left (almost) no ink";
  // All ink lies right of the pen, between the cap height above the baseline and the
  // descender below it.
  EXPECT_EQ(Count(image, 7, 40 - 20, 8 + 2 * 20, 40 + 6, inked), ink);
  EXPECT_GT(Count(image, 0, 0, kWidth, 40, inked), Count(image, 0, 40, kWidth, kHeight, inked))
      << "most of the ink of \"Hg\" lies above the baseline";

  // 3D: the anchor (1, -1, 0) of the world lands on pixel (48, 48).
  const Image label = Frame([&](IVRender& r) {
    r.SetColorFront(white);
    r.DrawText(MMPoint3d<float>(1.0f, -1.0f, 0.0f), L"H", 12);
  });
  const int label_ink = Count(label, 0, 0, kWidth, kHeight, inked);
  EXPECT_GT(label_ink, 10);
  EXPECT_EQ(Count(label, 47, 48 - 12, 48 + 12, 49, inked), label_ink);
}

}  // namespace
}  // namespace ostrum_gl_test
