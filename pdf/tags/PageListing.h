#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace ostrel::pdf {

// What a page is made of, as its document has it: texts, pictures, and the elements that hold them.
struct ListedNode {
    enum class Kind { element, text, picture };
    enum class Scope { none, row, column };   // what a head cell heads
    Kind kind = Kind::element;
    std::size_t parent = 0;   // an element that stands before it; of the first, itself
    // Of an element, its type (ISO 32000-1 §14.8.4); of a text, what it says; of a picture, what is said in its place,
    // empty if it shows nothing that matters. UTF-8.
    std::string text{};
    std::size_t rows = 1, columns = 1;   // that a cell takes
    Scope scope = Scope::none;
    std::optional<std::size_t> link{};            // of a Link, its number (LinkMark::element)
    double width = 0, height = 0;                 // of a picture as it is shown, in any unit: the shape counts
    double naturalWidth = 0, naturalHeight = 0;   // and as it came
    bool isNamed = true;                          // false: the document says nothing in the picture's place
    std::optional<std::uint32_t> colour{};        // of what stands for the picture (PlacedPicture)
    bool operator==(const ListedNode&) const = default;
};

// In the order of the document; the first is the document itself. Empty: not known.
using PageListing = std::vector<ListedNode>;

}   // namespace ostrel::pdf
