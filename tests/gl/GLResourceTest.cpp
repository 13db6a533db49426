// What the OpenGL renderer keeps and gives back: surfaces at their sizes, captures in memory
// and in PNG files, mesh buffers freed with an object's render optimisations, the frame
// statistics, and the factory that selects it.

#include <png.h>

#include <cstdio>
#include <filesystem>
#include <vector>

#include "GLTestSupport.h"
#include "ostrum/foundation/render/IVRender2D.h"
#include "ostrum/foundation/render/IVRenderFactory.h"
#include "ostrum/foundation/render/IVRenderStats.h"
#include "ostrum/coordinates/MCoordinateSystem.h"
#include "ostrum/objects/IRender.h"

namespace ostrum_gl_test {
namespace {

// Reads a PNG file as RGBA rows, top first, with libpng's simplified interface.
bool ReadPNG(const std::string& path, Image& image) {
  png_image png{};
  png.version = PNG_IMAGE_VERSION;
  if (!png_image_begin_read_from_file(&png, path.c_str())) return false;
  png.format = PNG_FORMAT_RGBA;
  image.width = static_cast<int>(png.width);
  image.height = static_cast<int>(png.height);
  image.rgba.resize(PNG_IMAGE_SIZE(png));
  const bool ok = png_image_finish_read(&png, nullptr, image.rgba.data(), 0, nullptr) != 0;
  png_image_free(&png);
  return ok;
}

TEST_F(GLPixelTest, AResizedSurfaceCapturesAtItsNewSizeInMemoryAndInAPNGFile) {
  Resize(100, 30);
  const MColor background(0.1f, 0.7f, 0.3f, 1.0f);
  EXPECT_TRUE(m_render->StartFrame(m_surface.get(), nullptr, false));
  m_surface->Clear(background, true, true);
  std::unique_ptr<IVRender2D> r2d(m_render->CreateRender2D());
  m_render->StopFrame();
  r2d->Start2DDrawing(m_surface->GetBitmapDC());
  r2d->DrawRectangle(0, 0, 10, 5, MColor(1, 1, 1, 1), true);  // marks the top-left corner
  r2d->Stop2DDrawing();
  Image image;
  ASSERT_TRUE(Ostrum::GL::CaptureSurface(*m_surface, image));
  EXPECT_EQ(image.width, 100);
  EXPECT_EQ(image.height, 30);
  ASSERT_EQ(image.rgba.size(), 100u * 30u * 4u);
  EXPECT_TRUE(Near(PixelOf(image, 99, 29), Expected(background)));
  EXPECT_TRUE(Near(PixelOf(image, 0, 0), {255, 255, 255, 255}));
  EXPECT_TRUE(Near(PixelOf(image, 10, 5), Expected(background)));

  const std::string path = (std::filesystem::temp_directory_path() /
                            ("ostrum-gl-capture-" + std::to_string(::getpid()) + ".png")).string();
  ASSERT_TRUE(Ostrum::GL::CaptureSurfacePNG(*m_surface, path));
  Image read;
  const bool readable = ReadPNG(path, read);
  std::remove(path.c_str());
  ASSERT_TRUE(readable) << "libpng cannot read the capture back";
  EXPECT_EQ(read.width, 100);
  EXPECT_EQ(read.height, 30);
  EXPECT_EQ(read.rgba, image.rgba) << "the PNG file holds other pixels than the capture in memory";

  // Resizing to the size it has keeps the image; forcing makes it anew.
  Resize(100, 30);
  ASSERT_TRUE(Ostrum::GL::CaptureSurface(*m_surface, image));
  EXPECT_TRUE(Near(PixelOf(image, 0, 0), {255, 255, 255, 255}));
  RECT same{0, 0, 100, 30};
  m_surface->Resize(same, true, nullptr);
  ASSERT_TRUE(Ostrum::GL::CaptureSurface(*m_surface, image));
  EXPECT_TRUE(Near(PixelOf(image, 0, 0), {0, 0, 0, 255}));
  EXPECT_FALSE(Ostrum::GL::CaptureSurfacePNG(*m_surface, "/nonexistent-directory/x.png"));
}

// A host object that keeps its mesh on the card as its render optimisation.
class MeshObject : public IRender {
 public:
  explicit MeshObject(const IVMesh& mesh) : m_mesh(mesh) {}
  using IRender::Render;
  void Render(IVRender& renderer, const MCoordinateSystem&) override {
    if (!m_buffer) m_buffer.reset(renderer.CreateMeshBuffer(m_mesh));
    if (m_buffer) renderer.DrawMesh(*m_buffer);
  }
  void DestroyRenderOptimisations() override { m_buffer.reset(); }
  const IVRenderBuffer* GetBuffer() const { return m_buffer.get(); }

 private:
  IVMesh m_mesh;
  std::unique_ptr<IVRenderBuffer> m_buffer;
};

TEST_F(GLPixelTest, BuffersFreedByDestroyRenderOptimisationsAreDeletedOnTheCardAndMadeOnceOtherwise) {
  const Quad quad(-1, -1, 1, 1, 0);
  const float normals[12] = {0, 0, -1, 0, 0, -1, 0, 0, -1, 0, 0, -1};
  const float colors[16] = {1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1};
  MeshObject object(quad.Mesh(normals, colors));
  const MCoordinateSystem no_system;  // undefined: the test object draws in the renderer's transforms
  Frame([&](IVRender& r) { object.Render(r, no_system); });
  ASSERT_TRUE(object.GetBuffer());
  const IVRenderBuffer* first = object.GetBuffer();
  const std::vector<unsigned> names = Ostrum::GL::GetGLNames(*first);
  ASSERT_EQ(names.size(), 5u) << "a vertex array and buffers of positions, normals, colours and indices";
  EXPECT_TRUE(Ostrum::GL::IsLiveGLVertexArray(*m_render, names[0]));
  for (std::size_t i = 1; i < names.size(); ++i) EXPECT_TRUE(Ostrum::GL::IsLiveGLBuffer(*m_render, names[i]));

  // Drawing again draws what is kept: no new upload.
  Frame([&](IVRender& r) { object.Render(r, no_system); });
  EXPECT_EQ(object.GetBuffer(), first);
  EXPECT_EQ(m_render->GetStatistics().GetLastFrameTriangles(), 2u);

  object.DestroyRenderOptimisations();
  EXPECT_FALSE(Ostrum::GL::IsLiveGLVertexArray(*m_render, names[0]));
  for (std::size_t i = 1; i < names.size(); ++i)
    EXPECT_FALSE(Ostrum::GL::IsLiveGLBuffer(*m_render, names[i])) << "buffer " << names[i] << " is still alive";

  // A mesh whose indices point past its vertices is refused.
  Quad broken(-1, -1, 1, 1, 0);
  broken.indices[5] = 4;
  EXPECT_EQ(m_render->CreateMeshBuffer(broken.Mesh()), nullptr);
}

TEST_F(GLPixelTest, StatisticsCountFramesTheirTrianglesAndTime) {
  const Quad quad(-1, -1, 1, 1, 0);
  auto mesh = Mesh(quad.Mesh());
  ASSERT_TRUE(mesh);
  IVRenderStats& stats = m_render->GetStatistics();
  const auto frames = stats.GetFrameCount();
  Frame([&](IVRender& r) {
    EXPECT_TRUE(r.GetStatistics().IsInFrame());
    for (int i = 0; i < 3; ++i) r.DrawMesh(*mesh);
  });
  EXPECT_FALSE(stats.IsInFrame());
  EXPECT_EQ(stats.GetFrameCount(), frames + 1);
  EXPECT_EQ(stats.GetLastFrameTriangles(), 6u);
  EXPECT_GE(stats.GetLastFrameMilliseconds(), 0.0);

  // The framework's own statistics calls around the renderer's frame count one frame.
  EXPECT_TRUE(m_render->StartFrame(m_surface.get(), nullptr, false));
  stats.StartFrame(false);
  m_render->DrawMesh(*mesh);
  m_render->StopFrame();
  stats.StopFrame();
  EXPECT_EQ(stats.GetFrameCount(), frames + 2);
  EXPECT_EQ(stats.GetFullFrameCount(), frames + 1);
  EXPECT_EQ(stats.GetLastFrameTriangles(), 2u);

  // A surface of another renderer, or none, starts no frame.
  EXPECT_FALSE(m_render->StartFrame(nullptr, nullptr, false));
}

TEST(GLFactory, TheHostSelectsTheOpenGLRendererByTypeAndGetsItsSurfacesAndTwoDimensionalRenderers) {
  IVRenderFactory::Reset();
  Ostrum::GL::RegisterRenderers();
  IVRender* render = IVRenderFactory::SelectIVRender(RENDER_TYPE_SOFTWARE, false);
  ASSERT_TRUE(render) << "the OpenGL renderer could not start: " << Ostrum::GL::GetLastError();
  EXPECT_TRUE(Ostrum::GL::IsGLRender(*render));
  EXPECT_EQ(IVRenderFactory::GetCurrentRendererType(), RENDER_TYPE_SOFTWARE);
  EXPECT_NE(Ostrum::GL::DescribeRender(*render).find("llvmpipe"), std::string::npos)
      << Ostrum::GL::DescribeRender(*render);
  std::unique_ptr<IVDisplaySurface> surface(IVRenderFactory::CreateNewIVDisplaySurface(nullptr, render));
  ASSERT_TRUE(surface);
  EXPECT_FALSE(surface->HasBitmapDC()) << "a surface has no image before its first size";
  EXPECT_FALSE(render->StartFrame(surface.get(), nullptr, false));
  RECT rect{0, 0, 8, 8};
  surface->Resize(rect, false, nullptr);
  EXPECT_TRUE(surface->HasBitmapDC());
  EXPECT_TRUE(render->StartFrame(surface.get(), nullptr, false));
  render->StopFrame();
  std::unique_ptr<IVRender2D> r2d(IVRender2DFactory::CreateIVRender2D(render));
  EXPECT_TRUE(r2d);
  r2d.reset();
  surface.reset();

  std::string why;
  EXPECT_EQ(Ostrum::GL::CreateRender(RENDER_TYPE_RECORDING, &why), nullptr);
  EXPECT_FALSE(why.empty());
  EXPECT_EQ(Ostrum::GL::GetLastError(), why);
  IVRenderFactory::Reset();
}

}  // namespace
}  // namespace ostrum_gl_test
