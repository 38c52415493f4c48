// Preloaded into the engine's processes. The engine packs each page's fonts and pictures whole, which takes it longer
// than everything else, only for us to unpack them again and to embed a tenth: with this it stores them as they are.
// Whatever else packs in those processes is unpacked in the same machine. All of it stays in memory until the last page
// is printed: once the process has become large, pictures are packed again, as far as that makes them smaller.

#include <charconv>
#include <cstring>
#include <optional>
#include <system_error>
#include <utility>

#include <dlfcn.h>
#include <fcntl.h>
#include <unistd.h>
#include <zlib.h>

namespace {

// How much of a stream that is no font goes by between two looks at the process's size, in bytes. What pages draw and
// most pictures are smaller.
constexpr uLong betweenLooks = 1 << 18;

// Of memory that the process shares with nobody, in bytes; it has 40 to 50 MB when it prints common mail.
constexpr long smallProcess = 80 << 20;

// In the field of z_stream that zlib leaves alone, and how often its size was looked at: this stream is still stored.
constexpr uLong storing = 0x6f730000, maxLooks = 0xffff;
bool isStored(const z_stream& stream) { return stream.reserved >= storing && stream.reserved < storing + maxLooks; }
bool isLookDue(const z_stream& stream) {
    return isStored(stream) && stream.total_in / betweenLooks > stream.reserved - storing;
}

// The last stream that began to be packed after all, and when.
struct Trial {
    const z_stream* stream = nullptr;
    uLong in = 0, out = 0;

    bool isOver() const { return stream->total_in - in >= betweenLooks; }
    bool isWorthwhile() const { return (stream->total_out - out) / 3 < (stream->total_in - in) / 4; }
};
thread_local Trial trial;

bool isProcessSmall() {
    static const int pages = open("/proc/self/statm", O_RDONLY | O_CLOEXEC);   // in all, resident, of files
    char text[128];
    const auto length = pread(pages, text, sizeof text, 0);
    long numbers[3] = {};
    const char *at = text, *const end = text + (length > 0 ? length : 0);
    for (long& number : numbers) {
        const auto [next, error] = std::from_chars(at, end, number);
        if (error != std::errc()) return false;
        at = next == end ? next : next + 1;
    }
    return (numbers[1] - numbers[2]) * sysconf(_SC_PAGESIZE) < smallProcess;
}

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
    if (stream == nullptr) return real(stream, flush);
    if (stream->total_in == 0) {
        if (isFontFile(*stream)) stream->reserved = 0;
        if (trial.stream == stream) trial = {};
    }
    // Whoever changes what is done with the rest of a stream has what is held of it written first, through here.
    std::optional<int> changed;
    if (trial.stream == stream && trial.isOver()) {
        const auto ended = std::exchange(trial, {});
        if (!ended.isWorthwhile())   // a photograph: a sixth smaller, in forty times the time
            changed = deflateParams(stream, Z_NO_COMPRESSION, Z_DEFAULT_STRATEGY);
        if (changed == Z_BUF_ERROR) trial = ended;   // no room for all of it yet: next time
    } else if (isLookDue(*stream)) {
        ++stream->reserved;
        if (!isProcessSmall()) {
            const auto looks = std::exchange(stream->reserved, 0);
            changed = deflateParams(stream, Z_BEST_SPEED, Z_DEFAULT_STRATEGY);
            if (changed == Z_OK) trial = {stream, stream->total_in, stream->total_out};
            if (changed == Z_BUF_ERROR) stream->reserved = looks - 1;
        }
    }
    if (changed == Z_STREAM_ERROR) return Z_STREAM_ERROR;
    if (changed && stream->avail_out == 0) return Z_OK;
    return real(stream, flush);
}
}
