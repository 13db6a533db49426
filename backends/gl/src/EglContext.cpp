// How EGL is chosen, in order:
//   - software: the EGL device that carries EGL_MESA_device_software (Mesa's llvmpipe) through
//     EGL_EXT_platform_device; no other path is taken, so a test asking for it gets it or fails.
//   - hardware: Mesa's surfaceless platform (it picks a render node, and falls back to the
//     software rasteriser on a machine without one), then the first EGL device, then the
//     default display.
// The context is OpenGL 3.3 core. It is made without a config and current without a surface
// when the display allows (EGL_KHR_no_config_context, EGL_KHR_surfaceless_context); otherwise
// with a config that has pbuffers and a 1x1 pbuffer. Frames never go to that surface: every
// display surface of the renderer is a framebuffer object.

#include "EglContext.h"

#include <cstdio>
#include <cstring>
#include <vector>

namespace Ostrum::GL {

namespace {

bool HasExtension(const char* list, const char* name) {
  if (!list) return false;
  const std::size_t n = std::strlen(name);
  for (const char* p = list; (p = std::strstr(p, name)) != nullptr; p += n) {
    if ((p == list || p[-1] == ' ') && (p[n] == ' ' || p[n] == '\0')) return true;
  }
  return false;
}

std::string ErrorText(const char* what) {
  char buf[96];
  std::snprintf(buf, sizeof buf, "%s failed (EGL error 0x%04X)", what, static_cast<unsigned>(eglGetError()));
  return buf;
}

std::vector<EGLDeviceEXT> Devices() {
  std::vector<EGLDeviceEXT> devices;
  const char* client = eglQueryString(EGL_NO_DISPLAY, EGL_EXTENSIONS);
  if (!HasExtension(client, "EGL_EXT_device_enumeration") || !HasExtension(client, "EGL_EXT_platform_device"))
    return devices;
  EGLint count = 0;
  if (!eglQueryDevicesEXT(0, nullptr, &count) || count <= 0) return devices;
  devices.resize(static_cast<std::size_t>(count));
  if (!eglQueryDevicesEXT(count, devices.data(), &count)) count = 0;
  devices.resize(static_cast<std::size_t>(count));
  return devices;
}

bool IsSoftwareDevice(EGLDeviceEXT device) {
  return HasExtension(eglQueryDeviceStringEXT(device, EGL_EXTENSIONS), "EGL_MESA_device_software");
}

}  // namespace

EglContext::~EglContext() { _Close(); }

void EglContext::_Close() {
  if (m_display == EGL_NO_DISPLAY) return;
  if (eglGetCurrentContext() == m_context) eglMakeCurrent(m_display, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT);
  if (m_context != EGL_NO_CONTEXT) eglDestroyContext(m_display, m_context);
  if (m_surface != EGL_NO_SURFACE) eglDestroySurface(m_display, m_surface);
  // The display is not terminated: EGL displays are shared by the whole process (two renderers
  // on one display get the same handle), and terminating one would pull it from the other.
  m_context = EGL_NO_CONTEXT;
  m_surface = EGL_NO_SURFACE;
  m_display = EGL_NO_DISPLAY;
}

bool EglContext::Open(bool software, std::string& why) {
  _Close();
  const char* client = eglQueryString(EGL_NO_DISPLAY, EGL_EXTENSIONS);
  if (!client) {
    why = "EGL has no client extensions: libEGL could not be loaded or is too old";
    return false;
  }
  std::string tried;
  auto attempt = [&](EGLDisplay display, const char* path) {
    std::string reason;
    if (display != EGL_NO_DISPLAY && _OpenOn(display, path, reason)) return true;
    if (display == EGL_NO_DISPLAY) reason = "no display";
    tried += std::string(tried.empty() ? "" : "; ") + path + ": " + reason;
    return false;
  };

  const std::vector<EGLDeviceEXT> devices = Devices();
  if (software) {
    for (EGLDeviceEXT device : devices)
      if (IsSoftwareDevice(device) &&
          attempt(eglGetPlatformDisplayEXT(EGL_PLATFORM_DEVICE_EXT, device, nullptr), "software device"))
        return true;
    why = "no EGL device with Mesa's software rasteriser (EGL_MESA_device_software) could start";
    if (!tried.empty()) why += ": " + tried;
    if (devices.empty()) why += " (EGL lists no devices; is libegl-mesa0 installed?)";
    return false;
  }
  if (HasExtension(client, "EGL_MESA_platform_surfaceless") &&
      attempt(eglGetPlatformDisplayEXT(EGL_PLATFORM_SURFACELESS_MESA, EGL_DEFAULT_DISPLAY, nullptr),
              "surfaceless platform"))
    return true;
  for (EGLDeviceEXT device : devices)
    if (attempt(eglGetPlatformDisplayEXT(EGL_PLATFORM_DEVICE_EXT, device, nullptr), "EGL device")) return true;
  if (attempt(eglGetDisplay(EGL_DEFAULT_DISPLAY), "default display")) return true;
  why = "no EGL display gave an OpenGL 3.3 core context: " + tried;
  return false;
}

bool EglContext::_OpenOn(EGLDisplay display, const char* path, std::string& why) {
  EGLint major = 0, minor = 0;
  if (!eglInitialize(display, &major, &minor)) {
    why = ErrorText("eglInitialize");
    return false;
  }
  if (!eglBindAPI(EGL_OPENGL_API)) {
    why = ErrorText("eglBindAPI(OpenGL)");
    return false;
  }
  const char* extensions = eglQueryString(display, EGL_EXTENSIONS);
  const bool configless = HasExtension(extensions, "EGL_KHR_no_config_context") ||
                          HasExtension(extensions, "EGL_MESA_configless_context");
  const bool surfaceless = HasExtension(extensions, "EGL_KHR_surfaceless_context");

  EGLConfig config = EGL_NO_CONFIG_KHR;
  if (!configless || !surfaceless) {
    const EGLint wanted[] = {EGL_SURFACE_TYPE, EGL_PBUFFER_BIT, EGL_RENDERABLE_TYPE, EGL_OPENGL_BIT,
                             EGL_RED_SIZE, 8, EGL_GREEN_SIZE, 8, EGL_BLUE_SIZE, 8, EGL_NONE};
    EGLint count = 0;
    if (!eglChooseConfig(display, wanted, &config, 1, &count) || count < 1) {
      why = "no EGL config with pbuffers for OpenGL";
      return false;
    }
  }
  const EGLint context_attributes[] = {EGL_CONTEXT_MAJOR_VERSION, 3, EGL_CONTEXT_MINOR_VERSION, 3,
                                       EGL_CONTEXT_OPENGL_PROFILE_MASK, EGL_CONTEXT_OPENGL_CORE_PROFILE_BIT,
                                       EGL_NONE};
  EGLContext context = eglCreateContext(display, config, EGL_NO_CONTEXT, context_attributes);
  if (context == EGL_NO_CONTEXT) {
    why = ErrorText("eglCreateContext(OpenGL 3.3 core)");
    return false;
  }
  EGLSurface surface = EGL_NO_SURFACE;
  if (!surfaceless) {
    const EGLint size[] = {EGL_WIDTH, 1, EGL_HEIGHT, 1, EGL_NONE};
    surface = eglCreatePbufferSurface(display, config, size);
    if (surface == EGL_NO_SURFACE) {
      why = ErrorText("eglCreatePbufferSurface");
      eglDestroyContext(display, context);
      return false;
    }
  }
  if (!eglMakeCurrent(display, surface, surface, context)) {
    why = ErrorText("eglMakeCurrent");
    if (surface != EGL_NO_SURFACE) eglDestroySurface(display, surface);
    eglDestroyContext(display, context);
    return false;
  }
  m_display = display;
  m_context = context;
  m_surface = surface;
  m_path = path;
  if (epoxy_gl_version() < 33) {
    why = "the context offers OpenGL " + std::to_string(epoxy_gl_version() / 10) + "." +
          std::to_string(epoxy_gl_version() % 10) + ", 3.3 is needed";
    _Close();
    return false;
  }
  return true;
}

bool EglContext::MakeCurrent() const {
  if (m_context == EGL_NO_CONTEXT) return false;
  if (eglGetCurrentContext() == m_context) return true;
  return eglMakeCurrent(m_display, m_surface, m_surface, m_context) == EGL_TRUE;
}

}  // namespace Ostrum::GL
