// Out-of-line anchors of the render interfaces, and the process's table of renderers.

#include "ostrum/foundation/render/IVRender.h"

#include <map>

#include "ostrum/foundation/render/IVDisplaySurface.h"
#include "ostrum/foundation/render/IVRender2D.h"
#include "ostrum/foundation/render/IVRenderBuffer.h"
#include "ostrum/foundation/render/IVRenderFactory.h"

IVRender::~IVRender() = default;
IVRender2D::~IVRender2D() = default;
IVDisplaySurface::~IVDisplaySurface() = default;
IVRenderBuffer::~IVRenderBuffer() = default;

namespace {

// Renderers belong to the user-interface thread; the table is not locked.
struct RendererTable {
  std::map<ERenderType, IVRenderFactory::Creator> creators;
  std::map<ERenderType, std::unique_ptr<IVRender>> made;
  ERenderType current = RENDER_TYPE_NONE;
};

RendererTable& Table() {
  static RendererTable table;
  return table;
}

}  // namespace

void IVRenderFactory::RegisterRenderer(ERenderType type, Creator creator) { Table().creators[type] = std::move(creator); }

void IVRenderFactory::UnregisterRenderer(ERenderType type) {
  RendererTable& table = Table();
  table.creators.erase(type);
  table.made.erase(type);
  if (table.current == type) table.current = RENDER_TYPE_NONE;
}

IVRender* IVRenderFactory::GetCurrentRenderer() {
  RendererTable& table = Table();
  auto it = table.made.find(table.current);
  return it == table.made.end() ? nullptr : it->second.get();
}

ERenderType IVRenderFactory::GetCurrentRendererType() { return Table().current; }

IVRender* IVRenderFactory::SelectIVRender(ERenderType type, bool force) {
  RendererTable& table = Table();
  auto made = table.made.find(type);
  if (made != table.made.end() && !force) {
    table.current = type;
    return made->second.get();
  }
  auto creator = table.creators.find(type);
  if (creator == table.creators.end() || !creator->second) return nullptr;
  std::unique_ptr<IVRender> renderer = creator->second();
  if (!renderer) return nullptr;
  IVRender* result = renderer.get();
  table.made[type] = std::move(renderer);
  table.current = type;
  return result;
}

IVDisplaySurface* IVRenderFactory::CreateNewIVDisplaySurface(HWND window, IVRender* renderer) {
  return renderer ? renderer->CreateDisplaySurface(window) : nullptr;
}

void IVRenderFactory::Reset() {
  RendererTable& table = Table();
  table.made.clear();
  table.creators.clear();
  table.current = RENDER_TYPE_NONE;
}

IVRender2D* IVRender2DFactory::CreateIVRender2D(IVRender* renderer) {
  return renderer ? renderer->CreateRender2D() : nullptr;
}
