#include "pictures/headers/Size.h"

#include "pictures/Kind.h"
#include "pictures/headers/ByteReader.h"
#include "pictures/headers/JPEGHeader.h"
#include "pictures/headers/PNGHeader.h"

#include <limits>

namespace ostrel::pictures {
namespace {

constexpr auto little = Order::littleEndian;

// "GIF89a" width(2) height(2): GIF89a §18
std::optional<Size> gifSize(std::string_view file) {
    if (file.size() < 10) return std::nullopt;
    return Size{number16(file, 6, little), number16(file, 8, little)};
}

// "RIFF" length "WEBP" and a chunk: RFC 9649 §2.5 to §2.7
std::optional<Size> webpSize(std::string_view file) {
    if (file.size() < 30) return std::nullopt;
    const auto chunk = file.substr(12, 4);
    constexpr std::uint32_t fourteenBits = 0x3FFF;
    if (chunk == "VP8 ")
        return Size{number16(file, 26, little) & fourteenBits, number16(file, 28, little) & fourteenBits};
    if (chunk == "VP8L") {
        const auto bits = number32(file, 21, little);
        return Size{(bits & fourteenBits) + 1, (bits >> 14 & fourteenBits) + 1};
    }
    if (chunk != "VP8X") return std::nullopt;
    return Size{number(file, 24, 3, little) + 1, number(file, 27, 3, little) + 1};
}

// "BM", 12 bytes, then a header that begins with its own length: 12 with 16-bit sizes, or more with 32-bit ones, where
// a negative height is that of rows from top to bottom
std::optional<Size> bmpSize(std::string_view file) {
    if (file.size() < 26) return std::nullopt;
    constexpr std::uint32_t oldest = 12;
    if (number32(file, 14, little) == oldest) return Size{number16(file, 18, little), number16(file, 20, little)};
    const auto height = number32(file, 22, little);
    return Size{number32(file, 18, little), height >> 31 ? 0 - height : height};
}

std::optional<Size> anySize(ByteView picture) {
    const auto file = charsOf(picture);
    switch (kindOf(picture)) {
        case Kind::jpeg: {
            const auto header = readJPEGHeader(picture);
            return header ? std::optional(header->naturalSize()) : std::nullopt;
        }
        case Kind::png: {
            const auto header = readPNGHeader(picture);
            return header ? std::optional(header->size) : std::nullopt;
        }
        case Kind::gif:
            return gifSize(file);
        case Kind::webp:
            return webpSize(file);
        case Kind::bmp:
            return bmpSize(file);
        default:
            return std::nullopt;
    }
}

}   // namespace

bool isDrawn(const Size& size) {
    constexpr std::uint32_t maxSide = 32'767;
    constexpr std::uint64_t maxPixels = std::uint64_t{1} << 28;
    return size.width > 0 && size.height > 0 && size.width <= maxSide && size.height <= maxSide &&
           std::uint64_t{size.width} * size.height <= maxPixels;
}

std::optional<Size> naturalSize(ByteView picture) {
    const auto size = anySize(picture);
    constexpr std::uint32_t most = std::numeric_limits<std::int32_t>::max();
    const bool isSane = size && size->width > 0 && size->height > 0 && size->width <= most && size->height <= most;
    return isSane ? size : std::nullopt;
}

}   // namespace ostrel::pictures
