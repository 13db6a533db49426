#pragma once
// EglContext: one EGL display and one OpenGL 3.3 core context on it, made without a window.
// How the display is chosen is written down in EglContext.cpp.

#include <epoxy/egl.h>

#include <string>

namespace Ostrum::GL {

class EglContext {
 public:
  EglContext() = default;
  ~EglContext();
  EglContext(const EglContext&) = delete;
  EglContext& operator=(const EglContext&) = delete;

  /// Opens a display and makes the context current. `software` asks for Mesa's software
  /// rasteriser. False, with `why` filled, when something fails.
  bool Open(bool software, std::string& why);
  /// Makes the context current on this thread if it is not yet.
  bool MakeCurrent() const;
  bool IsOpen() const { return m_context != EGL_NO_CONTEXT; }
  /// How the display was reached ("surfaceless platform", "software device", ...).
  const std::string& GetPath() const { return m_path; }

 private:
  bool _OpenOn(EGLDisplay display, const char* path, std::string& why);
  void _Close();

  EGLDisplay m_display = EGL_NO_DISPLAY;
  EGLContext m_context = EGL_NO_CONTEXT;
  EGLSurface m_surface = EGL_NO_SURFACE;  ///< a 1x1 pbuffer when the display cannot go without
  std::string m_path;
};

}  // namespace Ostrum::GL
