#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

namespace ostrel::pdf {

// A place on a printed page that opens an address or a file. Measured on the page as the engine printed it, before
// scaling, in points from its top left corner.
struct LinkArea {
    std::size_t page = 0;   // 0 is the first
    double x = 0, y = 0, width = 0, height = 0;
    std::string url;                           // http, https or mailto; areas with anything else are dropped
    std::optional<std::size_t> element{};      // LinkMark::element
    std::optional<std::size_t> attachment{};   // LinkMark::attachment
};

// A part of a box, in fractions of its width and height. It counts only if the box was printed whole and in its shape.
struct PartOfBox {
    double left = 0, top = 0, width = 1, height = 1;
    double shape = 1;   // the box's width over its height
    bool operator==(const PartOfBox&) const = default;
};

// A link that was printed as paint too faint to see: everything filled in this colour with an opacity of 1/255, or a
// part of it. Several may share a colour; they come in the order drawn.
struct LinkMark {
    std::uint32_t colour = 0;   // 0xRRGGBB
    std::string url;
    std::optional<PartOfBox> part{};
    std::optional<std::size_t> element{};      // the number of the document's element that is the link
    std::optional<std::size_t> attachment{};   // the number of the file that it opens in place of an address
    bool operator==(const LinkMark&) const = default;
};

}   // namespace ostrel::pdf
