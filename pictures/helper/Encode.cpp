#include "pictures/helper/Encode.h"

#include "pictures/Wire.h"

#include <csetjmp>
#include <cstdio>
#include <cstdlib>
#include <memory>

#include <jpeglib.h>
#include <png.h>

namespace ostrel::pictures {
namespace {

// What is asked for is shown at once; it need not be small.
constexpr int compression = 4;

// Debian's C libraries can be left by exceptions: their code has the tables for it.
[[noreturn]] void failed(png_structp, png_const_charp reason) { throw NotAPicture(reason); }

void append(png_structp writer, png_bytep bytes, std::size_t count) {
    auto& file = *static_cast<std::string*>(png_get_io_ptr(writer));
    if (file.size() + count > wire::mostAnswerBytes) throw TooLarge();
    file.append(reinterpret_cast<const char*>(bytes), count);
}

int colourType(std::size_t channels) {
    constexpr int types[] = {PNG_COLOR_TYPE_GRAY, PNG_COLOR_TYPE_GRAY_ALPHA, PNG_COLOR_TYPE_RGB, PNG_COLOR_TYPE_RGBA};
    return types[channels - 1];
}

struct PNGWriter {
    png_structp state =
        png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, failed, [](png_structp, png_const_charp) {});
    png_infop info = png_create_info_struct(state);
    PNGWriter() = default;
    PNGWriter(const PNGWriter&) = delete;
    PNGWriter& operator=(const PNGWriter&) = delete;
    ~PNGWriter() { png_destroy_write_struct(&state, &info); }
};

struct JPEGWriter {
    jpeg_compress_struct state{};
    jpeg_error_mgr errors{};
    unsigned char* bytes = nullptr;
    unsigned long size = 0;
    JPEGWriter() {
        state.err = jpeg_std_error(&errors);
        errors.error_exit = [](j_common_ptr) { throw NotAPicture("cannot be packed"); };
        errors.output_message = [](j_common_ptr) {};
        jpeg_create_compress(&state);
        jpeg_mem_dest(&state, &bytes, &size);
    }
    JPEGWriter(const JPEGWriter&) = delete;
    JPEGWriter& operator=(const JPEGWriter&) = delete;
    ~JPEGWriter() {
        jpeg_destroy_compress(&state);
        std::free(bytes);
    }
};

}   // namespace

std::string encodePNG(const Pixels& pixels) {
    std::string file;
    PNGWriter writer;
    png_set_compression_level(writer.state, compression);
    png_set_benign_errors(writer.state, 1);   // a profile that is not as it should be costs itself
    png_set_write_fn(writer.state, &file, append, nullptr);
    png_set_IHDR(writer.state, writer.info, pixels.width, pixels.height, 8, colourType(pixels.channels),
                 PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    if (!pixels.profile.empty())
        png_set_iCCP(writer.state, writer.info, "profile", PNG_COMPRESSION_TYPE_BASE,
                     reinterpret_cast<png_const_bytep>(pixels.profile.data()),
                     static_cast<png_uint_32>(pixels.profile.size()));
    png_write_info(writer.state, writer.info);
    for (std::uint32_t y = 0; y < pixels.height; ++y) png_write_row(writer.state, pixels.row(y));
    png_write_end(writer.state, writer.info);
    return file;
}

std::string encodeJPEG(const Pixels& pixels) {
    // Losses that nobody sees beside those that the picture came with.
    constexpr int quality = 92;
    JPEGWriter writer;
    auto& state = writer.state;
    state.image_width = pixels.width;
    state.image_height = pixels.height;
    state.input_components = static_cast<int>(pixels.channels);
    state.in_color_space = pixels.channels == 1 ? JCS_GRAYSCALE : JCS_RGB;
    jpeg_set_defaults(&state);
    jpeg_set_quality(&state, quality, TRUE);
    jpeg_start_compress(&state, TRUE);
    if (!pixels.profile.empty())
        jpeg_write_icc_profile(&state, reinterpret_cast<const JOCTET*>(pixels.profile.data()),
                               static_cast<unsigned>(pixels.profile.size()));
    while (state.next_scanline < state.image_height) {
        auto* row = const_cast<JSAMPROW>(pixels.row(state.next_scanline));
        jpeg_write_scanlines(&state, &row, 1);
    }
    jpeg_finish_compress(&state);
    return std::string(reinterpret_cast<const char*>(writer.bytes), writer.size);
}

}   // namespace ostrel::pictures
