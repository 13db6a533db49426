// Out-of-line anchors and default bodies of the object interfaces.

#include "ostrum/objects/IObject.h"
#include "ostrum/objects/IRender.h"
#include "ostrum/objects/MObject.h"
#include "ostrum/objects/UIObject.h"

IObject::~IObject() = default;
MObject::~MObject() = default;
UIObject::~UIObject() = default;

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
