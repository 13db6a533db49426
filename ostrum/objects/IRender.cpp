// The default bodies of the render interface: an object draws nothing, has no box and is
// visible in every scene until it says otherwise.

#include "ostrum/objects/IRender.h"

IRender::~IRender() = default;
void IRender::Render(IVRender&, const MSceneEx&) {}
void IRender::Render(IVRender2D&, const MSceneEx&) {}
void IRender::Render(IVRender2D&, const MCoordinateSystem&) {}
void IRender::Render(IVRender&, const MCoordinateSystem&) {}
void IRender::RenderFast(IVRender&, const MSceneEx&) {}
void IRender::RenderFast(IVRender&, const MCoordinateSystem&) {}
void IRender::RenderGDI(CDC&, const MCoordinateSystem&) {}
void IRender::RenderGDIBitmap(CDC&, const MSceneEx&) {}
void IRender::RenderGDIScreen(CDC&, const MSceneEx&) {}
void IRender::DestroyRenderOptimisations() {}
void IRender::GetBoundingBox(M3DBoundingBox<float>&, unsigned long long, const MCoordinateSystem*) const {}
bool IRender::IsVisible(unsigned long long) const { return true; }
