#include "pictures/helper/Formats.h"

#include <algorithm>
#include <cstring>

#include <png.h>

namespace ostrel::pictures {
namespace {

struct Source {
    ByteView bytes;
    std::size_t at = 0;
};

[[noreturn]] void failed(png_structp, png_const_charp reason) { throw NotAPicture(reason); }

void readSome(png_structp reader, png_bytep to, std::size_t count) {
    auto& source = *static_cast<Source*>(png_get_io_ptr(reader));
    if (count > source.bytes.size() - source.at) throw NotAPicture("cut short");
    std::memcpy(to, source.bytes.data() + source.at, count);
    source.at += count;
}

struct Reader {
    png_structp state =
        png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, failed, [](png_structp, png_const_charp) {});
    png_infop info = png_create_info_struct(state);
    Reader() = default;
    Reader(const Reader&) = delete;
    Reader& operator=(const Reader&) = delete;
    ~Reader() { png_destroy_read_struct(&state, &info, nullptr); }
};

std::string profileOf(const Reader& reader) {
    char* name = nullptr;
    int packing = 0;
    png_bytep bytes = nullptr;
    png_uint_32 count = 0;
    if (png_get_iCCP(reader.state, reader.info, &name, &packing, &bytes, &count) == 0) return {};
    return std::string(reinterpret_cast<const char*>(bytes), count);
}

// As the engine does; a profile says more.
void adjustGamma(const Reader& reader) {
    constexpr double screen = 2.2;
    double gamma = 0;
    if (png_get_gAMA(reader.state, reader.info, &gamma) == 0 ||
        png_get_valid(reader.state, reader.info, PNG_INFO_sRGB) ||
        png_get_valid(reader.state, reader.info, PNG_INFO_iCCP))
        return;
    png_set_gamma(reader.state, screen, gamma);
}

}   // namespace

Pixels decodePNG(ByteView picture) {
    Source source{picture};
    Reader reader;
    png_set_read_fn(reader.state, &source, readSome);
    png_read_info(reader.state, reader.info);
    const auto width = png_get_image_width(reader.state, reader.info);
    const auto height = png_get_image_height(reader.state, reader.info);
    checkSize(width, height);
    png_set_expand(reader.state);
    png_set_scale_16(reader.state);
    adjustGamma(reader);
    const int passes = png_set_interlace_handling(reader.state);
    png_read_update_info(reader.state, reader.info);
    auto pixels = blank(width, height, png_get_channels(reader.state, reader.info));
    if (png_get_rowbytes(reader.state, reader.info) != pixels.width * pixels.channels) throw NotAPicture("odd rows");
    for (int pass = 0; pass < passes; ++pass)
        for (std::uint32_t y = 0; y < pixels.height; ++y) png_read_row(reader.state, pixels.row(y), nullptr);
    pixels.profile = profileOf(reader);
    return pixels;
}

}   // namespace ostrel::pictures
