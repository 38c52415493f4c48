#pragma once

#include <cstdint>
#include <string>
#include <string_view>

// Pictures and their parts made by hand.
namespace ostrel::test {

inline std::string big(std::uint64_t value, int bytes) {
    std::string out;
    while (bytes-- > 0) out += static_cast<char>(value >> (8 * bytes) & 0xFF);
    return out;
}
inline std::string little(std::uint64_t value, int bytes) {
    std::string out;
    for (; bytes-- > 0; value >>= 8) out += static_cast<char>(value & 0xFF);
    return out;
}

// One entry of a TIFF directory: a number of 16 bits.
inline std::string shortEntry(unsigned tag, unsigned value) {
    return little(tag, 2) + little(3, 2) + little(1, 4) + little(value, 2) + little(0, 2);
}

// An uncompressed RGB picture of two pixels in one row, red and blue, stored to be turned so.
inline std::string tiff(unsigned orientation = 1, unsigned width = 2, unsigned height = 1) {
    const std::string pixels("\xFF\0\0\0\0\xFF", 6);
    const std::string entries =
        little(256, 2) + little(4, 2) + little(1, 4) + little(width, 4) +                        // ImageWidth
        little(257, 2) + little(4, 2) + little(1, 4) + little(height, 4) +                       // ImageLength
        little(258, 2) + little(3, 2) + little(3, 4) + little(8 + pixels.size(), 4) +            // BitsPerSample
        shortEntry(259, 1) + shortEntry(262, 2) +                                                // Compression, RGB
        little(273, 2) + little(4, 2) + little(1, 4) + little(8, 4) +                            // StripOffsets
        shortEntry(274, orientation) + shortEntry(277, 3) + shortEntry(278, height & 0xFFFF) +   // RowsPerStrip
        little(279, 2) + little(4, 2) + little(1, 4) + little(pixels.size(), 4);                 // StripByteCounts
    const std::string bits = little(8, 2) + little(8, 2) + little(8, 2);
    return "II*" + std::string(1, '\0') + little(8 + pixels.size() + bits.size(), 4) + pixels + bits + little(10, 2) +
           entries + little(0, 4);
}

inline std::string segment(unsigned marker, std::string_view content) {
    return "\xFF" + big(marker, 1) + big(content.size() + 2, 2) + std::string(content);
}

// EXIF data that say how a picture is to be turned.
inline std::string exif(unsigned orientation) {
    return std::string("Exif\0\0II*\0", 10) + little(8, 4) + little(1, 2) + shortEntry(0x0112, orientation) +
           little(0, 4);
}

inline std::string chunk(std::string_view type, std::string_view content) {
    return big(content.size(), 4) + std::string(type) + std::string(content) + "CRC!";
}

// Of HEIC, AVIF and JPEG 2000.
inline std::string box(std::string_view type, std::string_view content) {
    return big(content.size() + 8, 4) + std::string(type) + std::string(content);
}

// A page of 30 by 20 points.
inline std::string pdf(std::string_view content = "1 0 0 rg 0 0 15 20 re f BT /F 9 Tf 2 2 Td (office) Tj ET",
                       std::string_view mediaBox = "0 0 30 20") {
    return "%PDF-1.4\n1 0 obj<</Type/Catalog/Pages 2 0 R>>endobj 2 0 obj<</Type/Pages/Kids[3 0 R]/Count 1>>endobj "
           "3 0 obj<</Type/Page/Parent 2 0 R/MediaBox[" +
           std::string(mediaBox) +
           "]/Contents 4 0 R/Resources<</Font<</F<</Type/Font/Subtype/Type1/BaseFont/Helvetica>>>>>>>>endobj "
           "4 0 obj<</Length " +
           std::to_string(content.size()) + ">>stream\n" + std::string(content) +
           "\nendstream endobj trailer<</Root 1 0 R>>";
}

}   // namespace ostrel::test
