#include "pictures/helper/Encode.h"

#include "pictures/Wire.h"

#include <algorithm>
#include <csetjmp>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <optional>
#include <unordered_map>
#include <utility>
#include <vector>

#include <jpeglib.h>
#include <png.h>

namespace ostrel::pictures {
namespace {

// What zlib calls the default: it stays in PDFs, and somebody waits for it.
constexpr int compression = 6;

// Debian's C libraries can be left by exceptions: their code has the tables for it.
[[noreturn]] void failed(png_structp, png_const_charp reason) { throw NotAPicture(reason); }

void append(png_structp writer, png_bytep bytes, std::size_t count) {
    auto& file = *static_cast<std::string*>(png_get_io_ptr(writer));
    if (file.size() + count > wire::maxAnswerBytes) throw TooLarge();
    file.append(reinterpret_cast<const char*>(bytes), count);
}

int colourType(std::size_t channels) {
    constexpr int types[] = {PNG_COLOR_TYPE_GRAY, PNG_COLOR_TYPE_GRAY_ALPHA, PNG_COLOR_TYPE_RGB, PNG_COLOR_TYPE_RGBA};
    return types[channels - 1];
}

// The rows of a PNG, a byte a sample, and what they mean.
struct Rows {
    std::string bytes;
    std::size_t samples = 0;   // a pixel
    int bits = 8, colourType = 0;
    std::vector<png_color> palette;
};

// Greys in as few bits as hold them.
Rows greysOf(const Pixels& pixels) {
    Rows rows{pixels.bytes, 1, 8, PNG_COLOR_TYPE_GRAY, {}};
    for (const int bits : {1, 2, 4}) {
        const unsigned step = 255u / ((1u << bits) - 1);
        const auto isStep = [&](char c) { return static_cast<unsigned char>(c) % step == 0; };
        if (!std::ranges::all_of(rows.bytes, isStep)) continue;
        rows.bits = bits;
        for (char& c : rows.bytes) c = static_cast<char>(static_cast<unsigned char>(c) / step);
        break;
    }
    return rows;
}

// nullopt: it has more colours than a palette.
std::optional<Rows> withPalette(const Pixels& pixels) {
    constexpr std::size_t maxColours = 256;
    Rows rows{{}, 1, 8, PNG_COLOR_TYPE_PALETTE, {}};
    std::unordered_map<std::uint32_t, char> indexes;
    const auto* at = pixels.row(0);
    const auto count = std::size_t{pixels.width} * pixels.height;
    rows.bytes.reserve(count);
    std::uint32_t last = UINT32_MAX;
    char index = 0;
    for (std::size_t i = 0; i < count; ++i, at += 3) {
        const std::uint32_t colour = at[0] << 16 | at[1] << 8 | at[2];
        if (colour != last) {
            const auto [entry, isNew] = indexes.try_emplace(colour, static_cast<char>(rows.palette.size()));
            if (isNew && rows.palette.size() == maxColours) return std::nullopt;
            if (isNew) rows.palette.push_back({at[0], at[1], at[2]});
            last = colour;
            index = entry->second;
        }
        rows.bytes += index;
    }
    while (rows.bits > 1 && rows.palette.size() <= std::size_t{1} << rows.bits / 2) rows.bits /= 2;
    return rows;
}

Rows rowsOf(const Pixels& pixels) {
    if (pixels.channels == 1) return greysOf(pixels);
    if (pixels.channels == 3)
        if (auto rows = withPalette(pixels)) return std::move(*rows);
    return {pixels.bytes, pixels.channels, 8, colourType(pixels.channels), {}};
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
    auto rows = rowsOf(pixels);
    PNGWriter writer;
    png_set_compression_level(writer.state, compression);
    png_set_benign_errors(writer.state, 1);   // a profile that is not as it should be costs itself
    png_set_write_fn(writer.state, &file, append, nullptr);
    png_set_IHDR(writer.state, writer.info, pixels.width, pixels.height, rows.bits, rows.colourType, PNG_INTERLACE_NONE,
                 PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    if (!rows.palette.empty())
        png_set_PLTE(writer.state, writer.info, rows.palette.data(), static_cast<int>(rows.palette.size()));
    if (!pixels.profile.empty())
        png_set_iCCP(writer.state, writer.info, "profile", PNG_COMPRESSION_TYPE_BASE,
                     reinterpret_cast<png_const_bytep>(pixels.profile.data()),
                     static_cast<png_uint_32>(pixels.profile.size()));
    png_write_info(writer.state, writer.info);
    png_set_packing(writer.state);
    const auto rowBytes = pixels.width * rows.samples;
    for (std::uint32_t y = 0; y < pixels.height; ++y)
        png_write_row(writer.state, reinterpret_cast<png_const_bytep>(rows.bytes.data() + y * rowBytes));
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
