#include "pictures/helper/Encode.h"
#include "pictures/helper/Formats.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <jpeglib.h>

namespace ostrel::pictures {
namespace {

[[noreturn]] void failed(j_common_ptr) { throw NotAPicture("not as a JPEG must be"); }

struct Errors : jpeg_error_mgr {
    Errors() : jpeg_error_mgr() {
        jpeg_std_error(this);
        error_exit = failed;
        output_message = [](j_common_ptr) {};
    }
};

struct Reader {
    Errors errors;
    jpeg_decompress_struct state{};
    Reader() {
        state.err = &errors;
        jpeg_create_decompress(&state);
    }
    Reader(const Reader&) = delete;
    Reader& operator=(const Reader&) = delete;
    ~Reader() { jpeg_destroy_decompress(&state); }
};

struct Writer {
    Errors errors;
    jpeg_compress_struct state{};
    unsigned char* bytes = nullptr;
    unsigned long size = 0;
    Writer() {
        state.err = &errors;
        jpeg_create_compress(&state);
        jpeg_mem_dest(&state, &bytes, &size);
    }
    Writer(const Writer&) = delete;
    Writer& operator=(const Writer&) = delete;
    ~Writer() {
        jpeg_destroy_compress(&state);
        std::free(bytes);
    }
};

// The library writes these itself.
bool isWrittenAnyway(const jpeg_compress_struct& state, const jpeg_marker_struct& marker) {
    const std::string_view content(reinterpret_cast<const char*>(marker.data), marker.data_length);
    return (state.write_JFIF_header && marker.marker == JPEG_APP0 && content.starts_with("JFIF")) ||
           (state.write_Adobe_marker && marker.marker == JPEG_APP0 + 14 && content.starts_with("Adobe"));
}

// As browsers count them: whoever waits for more has no use for a row that is not all there.
std::uint32_t wholeRows(ByteView picture) {
    Reader reader;
    jpeg_source_mgr source{};
    source.next_input_byte = reinterpret_cast<const unsigned char*>(picture.data());
    source.bytes_in_buffer = picture.size();
    source.init_source = source.term_source = [](j_decompress_ptr) {};
    source.fill_input_buffer = [](j_decompress_ptr) -> boolean { return FALSE; };
    source.skip_input_data = [](j_decompress_ptr state, long count) {
        const auto skipped = std::min(static_cast<std::size_t>(std::max(count, 0L)), state->src->bytes_in_buffer);
        state->src->next_input_byte += skipped;
        state->src->bytes_in_buffer -= skipped;
    };
    source.resync_to_restart = jpeg_resync_to_restart;
    reader.state.src = &source;
    if (jpeg_read_header(&reader.state, TRUE) != JPEG_HEADER_OK) return 0;
    if (jpeg_has_multiple_scans(&reader.state)) return reader.state.image_height;   // each has all rows
    if (!jpeg_start_decompress(&reader.state)) return 0;
    std::string row(std::size_t{reader.state.output_width} * static_cast<unsigned>(reader.state.output_components), 0);
    auto* to = reinterpret_cast<JSAMPROW>(row.data());
    while (reader.state.output_scanline < reader.state.output_height)
        if (jpeg_read_scanlines(&reader.state, &to, 1) == 0) break;
    return reader.state.output_scanline;
}

// Full over these rows.
std::string maskOf(std::uint32_t width, std::uint32_t height, std::uint32_t rows) {
    auto mask = blank(width, height, 1);
    std::memset(mask.bytes.data(), 0xFF, std::size_t{width} * rows);
    return encodePNG(mask);
}

}   // namespace

// The pixels' own numbers are kept; those that are missing are 0, as every decoder takes them.
Completed completedJPEG(ByteView picture) {
    const auto rows = wholeRows(picture);
    if (rows == 0) throw NotAPicture("not one row");
    Reader reader;
    jpeg_mem_src(&reader.state, reinterpret_cast<const unsigned char*>(picture.data()), picture.size());
    constexpr unsigned wholeMarker = 0xFFFF, markers = 16;
    for (unsigned i = 0; i < markers; ++i)
        jpeg_save_markers(&reader.state, static_cast<int>(JPEG_APP0 + i), wholeMarker);
    jpeg_read_header(&reader.state, TRUE);
    checkSize(reader.state.image_width, reader.state.image_height);
    auto* const numbers = jpeg_read_coefficients(&reader.state);
    Writer writer;
    jpeg_copy_critical_parameters(&reader.state, &writer.state);
    writer.state.optimize_coding = TRUE;
    jpeg_write_coefficients(&writer.state, numbers);
    for (const auto* marker = reader.state.marker_list; marker; marker = marker->next)
        if (!isWrittenAnyway(writer.state, *marker))
            jpeg_write_marker(&writer.state, marker->marker, marker->data, marker->data_length);
    jpeg_finish_compress(&writer.state);
    const auto width = reader.state.image_width, height = reader.state.image_height;
    return {std::string(reinterpret_cast<const char*>(writer.bytes), writer.size),
            rows < height ? maskOf(width, height, rows) : std::string()};
}

}   // namespace ostrel::pictures
