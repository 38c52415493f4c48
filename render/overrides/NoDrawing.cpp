// An EGL driver without anything to draw with, in place of the system's: the engine's web process wants a display of
// EGL before it starts and, where nothing is drawn on a screen, never asks it for anything. The usual driver brings a
// compiler with it, 50 MB of memory. Contexts and surfaces are refused; the engine paints by processor then.
//
// What libglvnd asks of a driver is told in <glvnd/libeglabi.h>.

#include <string_view>

#include <EGL/egl.h>
#include <EGL/eglext.h>
#include <glvnd/libeglabi.h>

namespace {

EGLDisplay theDisplay() {
    static char display = 0;
    return &display;
}

EGLDisplay getPlatformDisplay(EGLenum, void*, const EGLAttrib*) { return theDisplay(); }

// libglvnd takes no driver that has nothing to draw with, and none without all functions of EGL 1.4.
EGLBoolean supportsApi(EGLenum) { return EGL_TRUE; }

EGLBoolean initialize(EGLDisplay, EGLint* major, EGLint* minor) {
    if (major) *major = 1;
    if (minor) *minor = 4;
    return EGL_TRUE;
}

const char* queryString(EGLDisplay, EGLint name) {
    switch (name) {
        case EGL_VERSION:
            return "1.4";
        case EGL_VENDOR:
            return "Ostrel";
        default:
            return "";   // no extensions, nothing to draw with
    }
}

EGLBoolean succeed() { return EGL_TRUE; }
EGLint lastError() { return EGL_BAD_ALLOC; }
// False, or no object.
void* refuse() { return nullptr; }

template <typename Function>
void* address(Function* function) {
    return reinterpret_cast<void*>(function);
}

void* procAddress(const char* wanted) {
    const std::string_view name = wanted;
    if (name == "eglInitialize") return address(initialize);
    if (name == "eglQueryString") return address(queryString);
    if (name == "eglGetError") return address(lastError);
    if (name == "eglTerminate" || name == "eglReleaseThread") return address(succeed);
    return name.starts_with("egl") ? address(refuse) : nullptr;
}

void* noExtension(const char*) { return nullptr; }
void noIndex(const char*, int) {}

}   // namespace

extern "C" __attribute__((visibility("default"))) EGLBoolean __egl_Main(uint32_t version, const __EGLapiExports*,
                                                                        __EGLvendorInfo*, __EGLapiImports* imports) {
    if (EGL_VENDOR_ABI_GET_MAJOR_VERSION(version) != EGL_VENDOR_ABI_MAJOR_VERSION) return EGL_FALSE;
    imports->getPlatformDisplay = getPlatformDisplay;
    imports->getSupportsAPI = supportsApi;
    imports->getProcAddress = procAddress;
    imports->getDispatchAddress = noExtension;
    imports->setDispatchIndex = noIndex;
    return EGL_TRUE;
}
