// Preloaded into the engine's processes. The engine packs each page's fonts and pictures whole, which takes it longer
// than everything else, only for us to unpack them again and to embed a tenth: with this it stores them as they are.
// Whatever else packs in those processes is unpacked in the same machine. All of it stays in memory until the last page
// is printed: once the process has become large, pictures are packed again.

#include <charconv>
#include <cstring>
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
constexpr uLong storing = 0x6f730000, mostLooks = 0xffff;
bool isStored(const z_stream& stream) { return stream.reserved >= storing && stream.reserved < storing + mostLooks; }
bool isLookDue(const z_stream& stream) {
    return isStored(stream) && stream.total_in / betweenLooks > stream.reserved - storing;
}

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
    if (stream != nullptr && stream->total_in == 0 && isFontFile(*stream)) stream->reserved = 0;
    if (stream != nullptr && isLookDue(*stream)) {
        ++stream->reserved;
        if (!isProcessSmall()) {
            const auto looks = std::exchange(stream->reserved, 0);   // the next writes what is still held, through here
            const int outcome = deflateParams(stream, Z_BEST_SPEED, Z_DEFAULT_STRATEGY);
            if (outcome == Z_BUF_ERROR) stream->reserved = looks - 1;   // no room for all of it yet: next time
            if (outcome == Z_STREAM_ERROR || stream->avail_out == 0) return outcome == Z_STREAM_ERROR ? outcome : Z_OK;
        }
    }
    return real(stream, flush);
}
}
