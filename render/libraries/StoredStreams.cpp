// Preloaded into the engine's processes. The engine packs each page's fonts and pictures whole, which takes it longer
// than everything else, only for us to unpack them again and to embed a tenth: with this it stores them as they are.
// Whatever else packs in those processes is unpacked in the same machine. Large pictures are another matter: they stay
// in memory until the last page is printed, and become small at once.

#include <cstring>

#include <dlfcn.h>
#include <zlib.h>

namespace {

// Of a stream that is no font, in bytes. What pages draw and most pictures are below it.
constexpr uLong mostStored = 1 << 18;

// In the field of z_stream that zlib leaves alone: this stream is still stored and may become too large for that.
constexpr uLong storing = 0x6f737472;

bool isFontFile(const z_stream& stream) {   // OpenType, "Organization of an OpenType Font"
    return stream.avail_in >= 4 && std::memcmp(stream.next_in, "\0\1\0\0", 4) == 0;
}

template <typename Function>
Function* theReal(Function*, const char* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

int begun(z_streamp stream, int outcome) {
    if (outcome == Z_OK) stream->reserved = storing;
    return outcome;
}

}   // namespace

// The two functions behind zlib's macros deflateInit and deflateInit2 (zlib.h).
extern "C" {

__attribute__((visibility("default"))) int deflateInit_(z_streamp stream, int, const char* version, int size) {
    auto* const real = theReal(&deflateInit_, "deflateInit_");
    return real ? begun(stream, real(stream, Z_NO_COMPRESSION, version, size)) : Z_STREAM_ERROR;
}

__attribute__((visibility("default"))) int deflateInit2_(z_streamp stream, int, int method, int windowBits,
                                                         int memoryLevel, int strategy, const char* version, int size) {
    auto* const real = theReal(&deflateInit2_, "deflateInit2_");
    if (!real) return Z_STREAM_ERROR;
    return begun(stream, real(stream, Z_NO_COMPRESSION, method, windowBits, memoryLevel, strategy, version, size));
}

__attribute__((visibility("default"))) int deflate(z_streamp stream, int flush) {
    static auto* const real = theReal(&deflate, "deflate");
    if (!real) return Z_STREAM_ERROR;
    if (stream != nullptr && stream->total_in == 0 && isFontFile(*stream)) stream->reserved = 0;
    if (stream != nullptr && stream->reserved == storing && stream->total_in >= mostStored) {
        stream->reserved = 0;   // the next writes what is still held, through here
        const int outcome = deflateParams(stream, Z_BEST_SPEED, Z_DEFAULT_STRATEGY);
        if (outcome == Z_BUF_ERROR) stream->reserved = storing;   // no room for all of it yet: next time
        if (outcome == Z_STREAM_ERROR || stream->avail_out == 0) return outcome == Z_STREAM_ERROR ? outcome : Z_OK;
    }
    return real(stream, flush);
}
}
