#pragma once

#include "pictures/headers/Size.h"
#include "platform/Bytes.h"

#include <cstddef>
#include <optional>
#include <string_view>
#include <vector>

namespace ostrel::pictures {

enum class PNGColours { grey = 0, rgb = 2, palette = 3, greyAlpha = 4, rgba = 6 };   // numbers of PNG 1.2 §4.1.1

// What a PNG says before and around its pixels (PNG 1.2 §4). Views lie within the picture.
struct PNGHeader {
    Size size;
    std::size_t bits = 8;   // a sample
    PNGColours colours = PNGColours::rgb;
    bool isInterlaced = false;
    bool isAnimated = false;                   // what is shown first need not be what stands here
    std::string_view palette;                  // 3 bytes a colour
    std::optional<std::string_view> tRNS;      // alpha of palette colours, or the one colour that is transparent
    std::optional<std::uint32_t> gamma;        // times 100,000
    std::optional<std::string_view> profile;   // name, 0, method and the packed ICC profile
    bool isSRGB = false;                       // overrules profile and gamma
    std::vector<std::string_view> data;        // the IDAT chunks: pieces of one zlib stream
    bool isWhole = false;                      // ends with IEND
    // That of all screens, or overruled: what the numbers say is what is shown.
    bool hasPlainGamma() const;
    bool hasAlpha() const { return tRNS || colours == PNGColours::greyAlpha || colours == PNGColours::rgba; }
};

// nullopt where there is no valid IHDR. Chunks are taken up to the first that is cut short.
std::optional<PNGHeader> readPNGHeader(ByteView picture);

}   // namespace ostrel::pictures
