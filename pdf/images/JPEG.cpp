#include "pdf/images/JPEG.h"

#include <csetjmp>
#include <cstdio>
#include <cstring>
#include <vector>

#include <jpeglib.h>

namespace ostrel::pdf {
namespace {

// libjpeg reports errors by a callback that must not return.
struct Decoder {
    jpeg_decompress_struct state{};
    jpeg_error_mgr errors{};
    jpeg_progress_mgr progress{};
    std::jmp_buf failed;

    Decoder() {
        state.err = jpeg_std_error(&errors);
        state.client_data = this;
        errors.error_exit = [](j_common_ptr c) { std::longjmp(static_cast<Decoder*>(c->client_data)->failed, 1); };
        errors.output_message = [](j_common_ptr) {};
        jpeg_create_decompress(&state);
        // A small file can ask for thousands of passes over a large picture.
        progress.progress_monitor = [](j_common_ptr c) {
            constexpr int maxScans = 100;
            if (reinterpret_cast<j_decompress_ptr>(c)->input_scan_number > maxScans) c->err->error_exit(c);
        };
        state.progress = &progress;
    }
    Decoder(const Decoder&) = delete;
    Decoder& operator=(const Decoder&) = delete;
    ~Decoder() { jpeg_destroy_decompress(&state); }

    void open(std::string_view file) {
        jpeg_mem_src(&state, reinterpret_cast<const unsigned char*>(file.data()), file.size());
        jpeg_read_header(&state, TRUE);
    }
};

bool readsHeader(Decoder& decoder, std::string_view file) {
    if (setjmp(decoder.failed)) return false;
    decoder.open(file);
    const auto& state = decoder.state;
    return state.jpeg_color_space == JCS_YCbCr && state.num_components == 3 && state.data_precision == 8 &&
           !state.arith_code && decoder.errors.num_warnings == 0;
}

std::size_t rowBytes(const Decoder& decoder) { return std::size_t{decoder.state.image_width} * 3; }
std::size_t pixelBytes(const Decoder& decoder) { return rowBytes(decoder) * decoder.state.image_height; }

// Row by row; false ends it. Nothing that needs a destructor may live in here or in take: longjmp passes it by.
template <class Take>
bool decode(Decoder& decoder, unsigned char* row, Take take) {
    if (setjmp(decoder.failed)) return false;
    auto& state = decoder.state;
    state.out_color_space = JCS_RGB;
    jpeg_start_decompress(&state);
    while (state.output_scanline < state.output_height) {
        const std::size_t at = rowBytes(decoder) * state.output_scanline;
        jpeg_read_scanlines(&state, &row, 1);
        if (!take(at, reinterpret_cast<const char*>(row))) return false;
    }
    jpeg_finish_decompress(&state);
    return decoder.errors.num_warnings == 0;
}

unsigned byteAt(std::string_view s, std::size_t at) { return static_cast<unsigned char>(s[at]); }

}   // namespace

namespace jpeg {

std::optional<ImageSize> size(std::string_view file) {
    Decoder decoder;
    if (!readsHeader(decoder, file)) return std::nullopt;
    return ImageSize{decoder.state.image_width, decoder.state.image_height};
}

std::optional<std::string> decodedPixels(std::string_view file) {
    Decoder decoder;
    if (!readsHeader(decoder, file)) return std::nullopt;
    std::vector<unsigned char> row(rowBytes(decoder));
    std::string pixels(pixelBytes(decoder), '\0');
    const bool isWhole = decode(decoder, row.data(), [&](std::size_t at, const char* bytes) {
        std::memcpy(pixels.data() + at, bytes, row.size());
        return true;
    });
    return isWhole ? std::optional(std::move(pixels)) : std::nullopt;
}

bool decodesTo(std::string_view file, std::string_view pixels) {
    Decoder decoder;
    if (!readsHeader(decoder, file) || pixels.size() != pixelBytes(decoder)) return false;
    std::vector<unsigned char> row(rowBytes(decoder));
    return decode(decoder, row.data(), [&](std::size_t at, const char* bytes) {
        return std::memcmp(pixels.data() + at, bytes, row.size()) == 0;
    });
}

// marker := FF type [length(2) content]; the scans run from SOS to EOI
std::string withoutMetadata(std::string_view file) {
    constexpr unsigned app0 = 0xE0, app14 = 0xEE, app15 = 0xEF, comment = 0xFE, startOfScan = 0xDA;
    std::string kept(file.substr(0, 2));
    for (std::size_t at = 2; at + 4 <= file.size() && byteAt(file, at) == 0xFF;) {
        const auto type = byteAt(file, at + 1);
        const auto length = 2 + byteAt(file, at + 2) * 256 + byteAt(file, at + 3);
        const bool isAlone = type < 0xC0 || (type >= 0xD0 && type <= 0xD9) || type == 0xFF;   // without a length
        if (isAlone || length < 4 || at + length > file.size()) break;
        if (type == startOfScan) return kept.append(file.substr(at));
        // JFIF and Adobe say which colours are meant; other application data do not touch the pixels.
        const bool isMetadata = type == comment || (type > app0 && type <= app15 && type != app14);
        if (!isMetadata) kept += file.substr(at, length);
        at += length;
    }
    return std::string(file);   // laid out in a way we do not follow
}

}   // namespace jpeg
}   // namespace ostrel::pdf
