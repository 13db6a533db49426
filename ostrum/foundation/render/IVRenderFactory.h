#pragma once
// IVRenderFactory and IVRender2DFactory: the process's renderers by type, the one in use, and
// the surfaces and 2D renderers made for them. A host registers the renderers it links (the
// OpenGL backend registers its own) and selects one in code.

#include <functional>
#include <memory>

#include "ostrum/Export.h"
#include "ostrum/foundation/render/IVRender.h"

class OSTRUM_API IVRenderFactory {
 public:
  /// Makes a renderer; null when it cannot (no device, no context).
  using Creator = std::function<std::unique_ptr<IVRender>()>;

  /// Makes `creator` the maker of `type`, replacing an earlier one (a renderer it made stays
  /// until the type is selected with force or unregistered).
  static void RegisterRenderer(ERenderType type, Creator creator);
  /// Forgets the maker of `type` and destroys its renderer; the current type becomes
  /// RENDER_TYPE_NONE if it was this one.
  static void UnregisterRenderer(ERenderType type);
  /// The renderer in use; null before one was selected.
  static IVRender* GetCurrentRenderer();
  static ERenderType GetCurrentRendererType();
  /// Makes `type` the one in use, making its renderer on first use (anew with `force`), and
  /// answers it. Null, with nothing changed, when the type has no maker or it made nothing.
  /// The renderers belong to the factory.
  static IVRender* SelectIVRender(ERenderType type, bool force);
  /// A surface of `renderer` for `window`; the caller owns it. Null without a renderer.
  static IVDisplaySurface* CreateNewIVDisplaySurface(HWND window, IVRender* renderer);
  /// Destroys every renderer made and forgets the makers (at the end of a program or test).
  static void Reset();
};

class OSTRUM_API IVRender2DFactory {
 public:
  /// A 2D renderer for `renderer`; the caller owns it. Null without a renderer.
  static IVRender2D* CreateIVRender2D(IVRender* renderer);
};
