// Preloaded into the engine's processes. The engine packs each page's fonts and pictures whole, which takes it longer
// than everything else, only for us to unpack them again and to embed a tenth: with this it stores them as they are.
// Whatever else packs in those processes is unpacked in the same machine.

#include <dlfcn.h>
#include <zlib.h>

namespace {

template <typename Function>
Function* theReal(Function*, const char* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

}   // namespace

// The two functions behind zlib's macros deflateInit and deflateInit2 (zlib.h).
extern "C" {

__attribute__((visibility("default"))) int deflateInit_(z_streamp stream, int, const char* version, int size) {
    auto* const real = theReal(&deflateInit_, "deflateInit_");
    return real ? real(stream, Z_NO_COMPRESSION, version, size) : Z_STREAM_ERROR;
}

__attribute__((visibility("default"))) int deflateInit2_(z_streamp stream, int, int method, int windowBits,
                                                         int memoryLevel, int strategy, const char* version, int size) {
    auto* const real = theReal(&deflateInit2_, "deflateInit2_");
    return real ? real(stream, Z_NO_COMPRESSION, method, windowBits, memoryLevel, strategy, version, size)
                : Z_STREAM_ERROR;
}
}
