#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace ostrel::pdf {

struct ImageSize {
    std::size_t width = 0, height = 0;   // pixels
    bool operator==(const ImageSize&) const = default;
};

namespace jpeg {

// nullopt unless it is a JPEG whose colours every PDF viewer takes the same way: 8 bits, YCbCr, Huffman-coded.
std::optional<ImageSize> size(std::string_view file);

// The pixels, 3 bytes each, rows from the top. nullopt unless the whole file decodes without a warning.
std::optional<std::string> decodedPixels(std::string_view file);

// Returns true if those are its pixels; ends at the first row that differs.
bool decodesTo(std::string_view file, std::string_view pixels);

// The file without camera data, previews, profiles and what follows the image; it decodes to the same pixels.
std::string withoutMetadata(std::string_view file);

}   // namespace jpeg
}   // namespace ostrel::pdf
