#include "pictures/helper/Formats.h"
#include "pictures/helper/Owned.h"

#include <algorithm>
#include <cstring>

#include <tiffio.h>

namespace ostrel::pictures {
namespace {

// A file in memory, as libtiff reads one.
struct Source {
    ByteView bytes;
    std::size_t at = 0;
};

tmsize_t readSome(thandle_t handle, void* to, tmsize_t count) {
    auto& source = *static_cast<Source*>(handle);
    const auto left = source.bytes.size() - std::min(source.at, source.bytes.size());
    const auto got = std::min(left, static_cast<std::size_t>(count));
    if (got > 0) std::memcpy(to, source.bytes.data() + source.at, got);
    source.at += got;
    return static_cast<tmsize_t>(got);
}

toff_t seekTo(thandle_t handle, toff_t offset, int from) {
    auto& source = *static_cast<Source*>(handle);
    const std::size_t base = from == SEEK_SET ? 0 : from == SEEK_CUR ? source.at : source.bytes.size();
    return source.at = base + offset;
}

tmsize_t writeNothing(thandle_t, void*, tmsize_t) { return 0; }
int closeNothing(thandle_t) { return 0; }
toff_t sizeOf(thandle_t handle) { return static_cast<Source*>(handle)->bytes.size(); }
int mapNothing(thandle_t, void**, toff_t*) { return 0; }
void unmapNothing(thandle_t, void*, toff_t) {}

using File = Owned<TIFF, TIFFClose>;

std::uint16_t field(TIFF* file, std::uint32_t tag, std::uint16_t otherwise) {
    std::uint16_t value = otherwise;
    return TIFFGetField(file, tag, &value) == 1 ? value : otherwise;
}

bool hasAlpha(TIFF* file) {
    std::uint16_t count = 0;
    std::uint16_t* samples = nullptr;
    if (TIFFGetField(file, TIFFTAG_EXTRASAMPLES, &count, &samples) != 1 || count == 0) return false;
    return samples[0] == EXTRASAMPLE_ASSOCALPHA || samples[0] == EXTRASAMPLE_UNASSALPHA;
}

// A profile for anything but RGB is used up in the conversion to it.
std::string profileOf(TIFF* file) {
    std::uint32_t count = 0;
    void* bytes = nullptr;
    if (field(file, TIFFTAG_PHOTOMETRIC, 0) != PHOTOMETRIC_RGB ||
        TIFFGetField(file, TIFFTAG_ICCPROFILE, &count, &bytes) != 1)
        return {};
    return std::string(static_cast<const char*>(bytes), count);
}

// libtiff multiplies alpha in.
unsigned char divided(std::uint32_t colour, std::uint32_t alpha) {
    return static_cast<unsigned char>(alpha == 0 ? 0 : std::min(255u, (colour * 255 + alpha / 2) / alpha));
}

}   // namespace

Pixels decodeTIFF(ByteView picture) {
    Source source{picture};
    const File file(TIFFClientOpen("", "rm", &source, readSome, writeNothing, seekTo, closeNothing, sizeOf, mapNothing,
                                   unmapNothing));
    if (!file) throw NotAPicture("no TIFF");
    std::uint32_t width = 0, height = 0;
    TIFFGetField(file.get(), TIFFTAG_IMAGEWIDTH, &width);
    TIFFGetField(file.get(), TIFFTAG_IMAGELENGTH, &height);
    auto pixels = blank(width, height, 4);
    const auto orientation = field(file.get(), TIFFTAG_ORIENTATION, ORIENTATION_TOPLEFT);
    // As stored, rows from the top: asked for the orientation that the file names, it turns nothing.
    if (TIFFReadRGBAImageOriented(file.get(), width, height, reinterpret_cast<std::uint32_t*>(pixels.bytes.data()),
                                  orientation, 1) != 1)
        throw NotAPicture("a damaged TIFF");
    for (std::size_t at = 0; at < pixels.bytes.size(); at += 4) {
        std::uint32_t packed = 0;
        std::memcpy(&packed, pixels.bytes.data() + at, sizeof packed);
        const auto alpha = TIFFGetA(packed);
        const unsigned char pixel[] = {divided(TIFFGetR(packed), alpha), divided(TIFFGetG(packed), alpha),
                                       divided(TIFFGetB(packed), alpha), static_cast<unsigned char>(alpha)};
        std::memcpy(pixels.bytes.data() + at, pixel, sizeof pixel);
    }
    if (!hasAlpha(file.get())) pixels = split(pixels).colours;
    pixels.profile = profileOf(file.get());
    const auto packing = field(file.get(), TIFFTAG_COMPRESSION, COMPRESSION_NONE);
    pixels.isLossy = packing == COMPRESSION_JPEG || packing == COMPRESSION_OJPEG;
    return upright(std::move(pixels), orientation);
}

}   // namespace ostrel::pictures
