#include "render/EngineThrift.h"

#include <cstdlib>
#include <optional>
#include <string>

#include <EGL/egl.h>
#include <malloc.h>

namespace ostrel::engineThrift {
namespace {

// Toolkit and engine set OpenGL up, though nothing is shown: 20 MB of drivers and their compiler in each process.
void doWithoutGraphics() {
    setenv("GDK_DEBUG", "gl-disable", 1);
    setenv("WEBKIT_DISABLE_DMABUF_RENDERER", "1", 1);
    // The library looks for drivers once, and here finds none. The web process must not inherit that: it ends without.
    constexpr const char* drivers = "__EGL_VENDOR_LIBRARY_FILENAMES";
    const char* const set = std::getenv(drivers);
    const auto before = set ? std::optional<std::string>(set) : std::nullopt;
    setenv(drivers, "/nonexistent", 1);
    eglQueryString(EGL_NO_DISPLAY, EGL_EXTENSIONS);
    if (before) {
        setenv(drivers, before->c_str(), 1);
    } else {
        unsetenv(drivers);
    }
}

// One message after the other needs no arena for each thread, and what a large one took goes back to the system instead
// of raising the allocator's thresholds for good.
void returnMemory() {
    constexpr int large = 4 << 20, arenas = 2;
    mallopt(M_ARENA_MAX, arenas);
    mallopt(M_MMAP_THRESHOLD, large);
    mallopt(M_TRIM_THRESHOLD, large);
    setenv("MALLOC_ARENA_MAX", std::to_string(arenas).c_str(), 0);   // in the engine's processes
    setenv("MALLOC_MMAP_THRESHOLD_", std::to_string(large).c_str(), 0);
    setenv("MALLOC_TRIM_THRESHOLD_", std::to_string(large).c_str(), 0);
}

}   // namespace

void settle() {
    doWithoutGraphics();
    returnMemory();
    // Scripts of a few milliseconds for each page gain nothing from a compiler: 8 MB.
    setenv("JSC_useBaselineJIT", "0", 0);
}

}   // namespace ostrel::engineThrift
