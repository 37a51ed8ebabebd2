// Drawing without a display, through EGL: pictures can be taken on a server or from a console.

#include <epoxy/egl.h>

#include "platform/head_surface.h"
#include "platform/linux/drawing/SurfaceProblem.h"
#include "platform/texts.h"

namespace {

/// An EGL display and a context of it, released together.
struct OffscreenContext {
    EGLDisplay display = EGL_NO_DISPLAY;
    EGLContext context = EGL_NO_CONTEXT;

    OffscreenContext() = default;
    OffscreenContext(const OffscreenContext&) = delete;
    OffscreenContext& operator=(const OffscreenContext&) = delete;
    ~OffscreenContext() {
        if (display == EGL_NO_DISPLAY) return;
        eglMakeCurrent(display, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT);
        if (context != EGL_NO_CONTEXT) eglDestroyContext(display, context);
        // The display is shared by all users of it in this process, so it isn't terminated.
    }

    bool create(EGLDisplay candidate) {
        if (candidate == EGL_NO_DISPLAY || !eglInitialize(candidate, nullptr, nullptr)) return false;
        display = candidate;
        const EGLint configWanted[] = {EGL_SURFACE_TYPE, EGL_PBUFFER_BIT, EGL_RENDERABLE_TYPE, EGL_OPENGL_BIT,
                                       EGL_NONE};
        const EGLint contextWanted[] = {EGL_CONTEXT_MAJOR_VERSION,
                                        3,
                                        EGL_CONTEXT_MINOR_VERSION,
                                        3,
                                        EGL_CONTEXT_OPENGL_PROFILE_MASK,
                                        EGL_CONTEXT_OPENGL_CORE_PROFILE_BIT,
                                        EGL_NONE};
        EGLConfig config = nullptr;
        EGLint found = 0;
        if (!eglBindAPI(EGL_OPENGL_API) || !eglChooseConfig(display, configWanted, &config, 1, &found) ||
            found == 0) {
            return false;
        }
        context = eglCreateContext(display, config, EGL_NO_CONTEXT, contextWanted);
        if (context == EGL_NO_CONTEXT || makeCurrent()) return context != EGL_NO_CONTEXT;
        eglDestroyContext(display, context);
        context = EGL_NO_CONTEXT;
        return false;
    }

    [[nodiscard]] bool makeCurrent() const {
        return eglGetCurrentContext() == context ||
               eglMakeCurrent(display, EGL_NO_SURFACE, EGL_NO_SURFACE, context) == EGL_TRUE;
    }
};

/// Mesa's displays without a screen, then those of other drivers, which count their devices.
bool createAnywhere(OffscreenContext& offscreen) {
    if (epoxy_has_egl_extension(EGL_NO_DISPLAY, "EGL_MESA_platform_surfaceless") &&
        offscreen.create(
            eglGetPlatformDisplayEXT(EGL_PLATFORM_SURFACELESS_MESA, EGL_DEFAULT_DISPLAY, nullptr))) {
        return true;
    }
    if (!epoxy_has_egl_extension(EGL_NO_DISPLAY, "EGL_EXT_device_enumeration")) return false;
    constexpr EGLint most = 16;
    EGLDeviceEXT devices[most] = {};
    EGLint count = 0;
    if (!eglQueryDevicesEXT(most, devices, &count)) return false;
    for (EGLint i = 0; i < count; ++i) {
        if (offscreen.create(eglGetPlatformDisplayEXT(EGL_PLATFORM_DEVICE_EXT, devices[i], nullptr)))
            return true;
    }
    return false;
}

}  // namespace

std::unique_ptr<HeadSurface> HeadSurface::offscreen(std::string& problem) {
    auto offscreen = std::make_shared<OffscreenContext>();
    if (!createAnywhere(*offscreen)) {
        problem = surfaceProblem(platformTexts.deviceFailed, static_cast<uint32_t>(eglGetError()));
        return nullptr;
    }
    return std::make_unique<HeadSurface>(Operations{
        [offscreen] { return offscreen->makeCurrent(); },
        [] { return true; },
        [] {},
        [] { return false; },
        [](const std::vector<Rect>&) {},
    });
}
