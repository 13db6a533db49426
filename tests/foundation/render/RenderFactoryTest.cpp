// The renderer table and the recording renderer: selection by type, what belongs to whom, and
// the record of calls that tests and hosts read.

#include <gtest/gtest.h>

#include <memory>

#include "ostrum/foundation/render/IVRenderFactory.h"
#include "ostrum/foundation/render/RecordingRender.h"

namespace {

struct RenderFactory : testing::Test {
  ~RenderFactory() override { IVRenderFactory::Reset(); }
};

TEST_F(RenderFactory, SelectsByTypeMakingEachRendererOnceAndKeepingTheCurrentOnFailure) {
  int made = 0;
  IVRenderFactory::RegisterRenderer(RENDER_TYPE_RECORDING, [&made] {
    ++made;
    return std::make_unique<Ostrum::RecordingRender>();
  });
  IVRenderFactory::RegisterRenderer(RENDER_TYPE_HARDWARE, [] { return std::unique_ptr<IVRender>(); });
  EXPECT_EQ(IVRenderFactory::GetCurrentRenderer(), nullptr);
  IVRender* first = IVRenderFactory::SelectIVRender(RENDER_TYPE_RECORDING, false);
  ASSERT_NE(first, nullptr);
  EXPECT_EQ(IVRenderFactory::SelectIVRender(RENDER_TYPE_RECORDING, false), first);
  EXPECT_EQ(made, 1);
  EXPECT_EQ(IVRenderFactory::SelectIVRender(RENDER_TYPE_HARDWARE, false), nullptr) << "its maker made nothing";
  EXPECT_EQ(IVRenderFactory::SelectIVRender(RENDER_TYPE_SOFTWARE, false), nullptr) << "no maker";
  EXPECT_EQ(IVRenderFactory::GetCurrentRendererType(), RENDER_TYPE_RECORDING);
  EXPECT_EQ(IVRenderFactory::GetCurrentRenderer(), first);
  EXPECT_NE(IVRenderFactory::SelectIVRender(RENDER_TYPE_RECORDING, true), nullptr);
  EXPECT_EQ(made, 2) << "force makes it anew";

  std::unique_ptr<IVDisplaySurface> surface(IVRenderFactory::CreateNewIVDisplaySurface(nullptr, first = IVRenderFactory::GetCurrentRenderer()));
  ASSERT_NE(surface, nullptr);
  std::unique_ptr<IVRender2D> over(IVRender2DFactory::CreateIVRender2D(first));
  ASSERT_NE(over, nullptr);
  EXPECT_EQ(IVRenderFactory::CreateNewIVDisplaySurface(nullptr, nullptr), nullptr);
  EXPECT_EQ(IVRender2DFactory::CreateIVRender2D(nullptr), nullptr);
  surface.reset();  // before their renderer
  over.reset();

  IVRenderFactory::UnregisterRenderer(RENDER_TYPE_RECORDING);
  EXPECT_EQ(IVRenderFactory::GetCurrentRendererType(), RENDER_TYPE_NONE);
  EXPECT_EQ(IVRenderFactory::GetCurrentRenderer(), nullptr);
}

TEST(RecordingRender, WritesDownEveryCallWithItsArgumentsAndCountsTheFrame) {
  Ostrum::RecordingRender renderer(3);
  renderer.StartFrame(nullptr, nullptr, false);
  renderer.GetStatistics().StartFrame(true);
  renderer.SetColorFront(MColor(1, 0, 0, 1));
  const float identity_shifted[16] = {1, 0, 0, 5, 0, 1, 0, 6, 0, 0, 1, 7, 0, 0, 0, 1};
  renderer.SetModelTransform(identity_shifted);
  const float square[12] = {0, 0, 0, 1, 0, 0, 1, 1, 0, 0, 1, 0};
  const std::uint32_t indices[6] = {0, 1, 2, 0, 2, 3};
  IVMesh mesh;
  mesh.positions = square;
  mesh.vertex_count = 4;
  mesh.indices = indices;
  mesh.index_count = 6;
  std::unique_ptr<IVRenderBuffer> buffer(renderer.CreateMeshBuffer(mesh));
  renderer.DrawMesh(*buffer);
  renderer.DrawLines(square, 2, 1.5f);
  renderer.DrawText(MMPoint3d<float>(1, 2, 3), L"label", 12);
  renderer.GetStatistics().StopFrame();
  renderer.StopFrame();
  buffer.reset();
  EXPECT_EQ(renderer.Describe(),
            "StartFrame(0)\nSetColorFront(1, 0, 0, 1)\n"
            "SetModelTransform(1, 0, 0, 5, 0, 1, 0, 6, 0, 0, 1, 7, 0, 0, 0, 1)\n"
            "CreateMeshBuffer(1, 4, 2)\nDrawMesh(1, 2)\nDrawLines(2, 1.5, 0, 0, 0, 1, 0, 0)\n"
            "DrawText(1, 2, 3, 12) \"label\"\nStopFrame()\nDeleteMeshBuffer(1)\n");
  EXPECT_EQ(renderer.GetModelTransform()[3], 5.0f);
  EXPECT_EQ(renderer.GetLiveBufferCount(), 0u);
  EXPECT_EQ(renderer.GetNumClippingPlanes(), 3);
  EXPECT_EQ(renderer.GetStatistics().GetFrameCount(), 1u);
  EXPECT_EQ(renderer.GetStatistics().GetFullFrameCount(), 1u);
  EXPECT_EQ(renderer.GetStatistics().GetLastFrameTriangles(), 2u);
}

}  // namespace
