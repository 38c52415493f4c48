#include "pdf/content/Deflate.h"

#include <algorithm>
#include <array>
#include <memory>
#include <new>

#include <libdeflate.h>

namespace ostrel::zlib {
namespace {

struct Free {
    void operator()(libdeflate_compressor* c) const { libdeflate_free_compressor(c); }
    void operator()(libdeflate_decompressor* d) const { libdeflate_free_decompressor(d); }
};

// Making a compressor costs more than packing a small stream with it.
libdeflate_compressor* compressor(Effort effort) {
    static constexpr std::array levels{1, 6, 7, 12};
    thread_local std::array<std::unique_ptr<libdeflate_compressor, Free>, levels.size()> kept;
    const auto i = static_cast<std::size_t>(effort);
    if (!kept[i]) kept[i].reset(libdeflate_alloc_compressor(levels[i]));
    if (!kept[i]) throw std::bad_alloc();
    return kept[i].get();
}

libdeflate_decompressor* decompressor() {
    thread_local const std::unique_ptr<libdeflate_decompressor, Free> kept(libdeflate_alloc_decompressor());
    if (!kept) throw std::bad_alloc();
    return kept.get();
}

}   // namespace

std::string deflate(std::string_view bytes, Effort effort) {
    auto* const tool = compressor(effort);
    std::string out(libdeflate_zlib_compress_bound(tool, bytes.size()), '\0');
    out.resize(libdeflate_zlib_compress(tool, bytes.data(), bytes.size(), out.data(), out.size()));
    return out;
}

std::optional<std::string> inflate(std::string_view stream, std::size_t expected, std::size_t limit) {
    std::string out(std::min(std::max<std::size_t>(expected, 1024), limit), '\0');
    for (;;) {
        std::size_t size = 0;
        switch (
            libdeflate_zlib_decompress(decompressor(), stream.data(), stream.size(), out.data(), out.size(), &size)) {
            case LIBDEFLATE_SUCCESS:
                out.resize(size);
                return out;
            case LIBDEFLATE_INSUFFICIENT_SPACE:
                if (out.size() >= limit) return std::nullopt;
                out.resize(std::min(out.size() * 4, limit));
                break;
            default:
                return std::nullopt;
        }
    }
}

}   // namespace ostrel::zlib
