#include "pictures/Wire.h"
#include "pictures/headers/PNGHeader.h"
#include "pictures/helper/Formats.h"
#include "pictures/helper/Owned.h"

#include <array>
#include <cstring>
#include <memory>
#include <new>

#include <libdeflate.h>

namespace ostrel::pictures {
namespace {

enum Filter : unsigned char { none, sub, up, average, paeth };   // numbers of PNG 1.2 §6

// Room that is not filled first, which takes as long as half of what is done here.
struct Room {
    explicit Room(std::size_t size_) : bytes(std::make_unique_for_overwrite<char[]>(size_)), size(size_) {}
    std::unique_ptr<char[]> bytes;
    std::size_t size;
};

Room inflated(const std::vector<std::string_view>& pieces, std::size_t expected) {
    std::string packed;
    for (const auto piece : pieces) packed += piece;
    Room rows(expected);
    const Owned<libdeflate_decompressor, libdeflate_free_decompressor> tool(libdeflate_alloc_decompressor());
    if (!tool) throw std::bad_alloc();
    if (libdeflate_zlib_decompress(tool.get(), packed.data(), packed.size(), rows.bytes.get(), rows.size, nullptr) !=
        LIBDEFLATE_SUCCESS)
        throw NotAPicture("not so many rows");
    return rows;
}

std::string deflated(const Room& rows) {
    constexpr int level = 6;
    const Owned<libdeflate_compressor, libdeflate_free_compressor> tool(libdeflate_alloc_compressor(level));
    if (!tool) throw std::bad_alloc();
    Room packed(libdeflate_zlib_compress_bound(tool.get(), rows.size));
    const auto size =
        libdeflate_zlib_compress(tool.get(), rows.bytes.get(), rows.size, packed.bytes.get(), packed.size);
    return std::string(packed.bytes.get(), size);
}

std::string big(std::size_t value) {
    std::string bytes;
    for (int shift = 24; shift >= 0; shift -= 8) bytes += static_cast<char>(value >> shift);
    return bytes;
}

void appendChunk(std::string& file, std::string_view type, std::string_view content) {
    file += big(content.size());
    const auto begin = file.size();
    file.append(type).append(content);
    file += big(libdeflate_crc32(0, file.data() + begin, file.size() - begin));
}

std::string fileOf(const PNGHeader& header, PNGColours colours, std::string_view profile, const Room& rows) {
    std::string file = "\x89PNG\r\n\x1A\n";
    std::string size = big(header.size.width) + big(header.size.height);
    size += {static_cast<char>(header.bits), static_cast<char>(colours), 0, 0, 0};
    appendChunk(file, "IHDR", size);
    if (!profile.empty()) appendChunk(file, "iCCP", profile);
    appendChunk(file, "IDAT", deflated(rows));
    appendChunk(file, "IEND", "");
    if (file.size() > wire::maxAnswerBytes) throw TooLarge();
    return file;
}

// Whether a row of alpha is full everywhere, below rows that are. Such rows look the same after each filter.
bool isFullRow(std::string_view row, std::size_t sampleBytes, bool isFirst) {
    struct Bytes {
        unsigned char first, others;   // of the first pixel, of the others
    };
    constexpr std::array<Bytes, 5> onTop{{{0xFF, 0xFF}, {0xFF, 0}, {0xFF, 0xFF}, {0xFF, 0x80}, {0xFF, 0}}},
        below{{{0xFF, 0xFF}, {0xFF, 0}, {0, 0}, {0x80, 0}, {0, 0}}};
    const auto filter = static_cast<unsigned char>(row[0]);
    const auto [first, others] = (isFirst ? onTop : below)[filter];
    for (std::size_t i = 1; i < row.size(); ++i)
        if (static_cast<unsigned char>(row[i]) != (i <= sampleBytes ? first : others)) return false;
    return true;
}

template <std::size_t colourBytes, std::size_t alphaBytes>
void splitRow(const char* from, std::size_t pixels, char* colours, char* alpha) {
    for (std::size_t i = 0; i < pixels; ++i, from += colourBytes + alphaBytes) {
        std::memcpy(colours + i * colourBytes, from, colourBytes);
        std::memcpy(alpha + i * alphaBytes, from + colourBytes, alphaBytes);
    }
}

}   // namespace

// Filters go by the same channel of the pixels around, so filtered rows can be taken apart as they are.
std::optional<Planes> planesOfPNG(ByteView picture) {
    constexpr std::uint64_t fewPixels = std::uint64_t{1} << 20;   // soon decoded, and smaller with a palette
    const auto header = readPNGHeader(picture);
    const bool isRGB = header && header->colours == PNGColours::rgba;
    if (!header || (!isRGB && header->colours != PNGColours::greyAlpha) || header->isInterlaced || header->isAnimated ||
        header->tRNS || !header->isWhole || !header->hasPlainGamma())
        return std::nullopt;
    const std::size_t width = header->size.width, height = header->size.height;
    checkSize(width, height);
    if (width * height <= fewPixels) return std::nullopt;
    const std::size_t alphaBytes = header->bits / 8, colourBytes = alphaBytes * (isRGB ? 3 : 1);
    const std::size_t rowBytes = 1 + width * (colourBytes + alphaBytes);
    const auto rows = inflated(header->data, height * rowBytes);
    const Room colours(height * (1 + width * colourBytes)), alpha(height * (1 + width * alphaBytes));
    const auto split = isRGB             ? alphaBytes == 1 ? splitRow<3, 1> : splitRow<6, 2>
                                   : alphaBytes == 1 ? splitRow<1, 1>
                                         : splitRow<2, 2>;
    bool isFull = true;
    for (std::size_t y = 0; y < height; ++y) {
        const char* const from = rows.bytes.get() + y * rowBytes;
        if (static_cast<unsigned char>(*from) > paeth) throw NotAPicture("no such filter");
        char* const to = colours.bytes.get() + y * (1 + width * colourBytes);
        char* const toAlpha = alpha.bytes.get() + y * (1 + width * alphaBytes);
        *to = *toAlpha = *from;
        split(from + 1, width, to + 1, toAlpha + 1);
        isFull = isFull && isFullRow({toAlpha, 1 + width * alphaBytes}, alphaBytes, y == 0);
    }
    const auto profile = header->isSRGB ? std::string_view() : header->profile.value_or("");
    Planes planes{header->size, fileOf(*header, isRGB ? PNGColours::rgb : PNGColours::grey, profile, colours), {}};
    if (!isFull) planes.alpha = fileOf(*header, PNGColours::grey, {}, alpha);
    return planes;
}

}   // namespace ostrel::pictures
