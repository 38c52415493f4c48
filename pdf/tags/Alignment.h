#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace ostrel::pdf {

// A text as a page shows it, mostly a piece of a line.
struct ShownText {
    std::u16string text;
    std::size_t page = 0;
    std::optional<double> baseline{};   // in points; nullopt: not one line
    double left = 0;
};

// What a shown text is.
struct Alignment {
    enum class Kind {
        piece,       // of a listed text
        again,       // what was shown just before, in the same place: a shadow
        blank,       // nothing to read
        generated,   // no piece of any listed text: the number of a list's item
    };
    Kind kind = Kind::blank;
    std::size_t listed = 0;      // of a piece
    bool followsBlank = false;   // a piece that a blank stands before, in its text or between texts
    bool operator==(const Alignment&) const = default;
};

// Finds for each shown text the listed one that it is a piece of. The pieces of a listed text come in its order, but
// those of others may come between, listed texts may be shown in another order, in part or not at all. Blanks, case and
// the form of characters do not matter; nor does the order of characters in what is written from right to left or in
// clusters. No character of a listed text is used twice. Linear in both but for a bounded search for each shown text.
std::vector<Alignment> align(const std::vector<std::string_view>& listed, const std::vector<ShownText>& shown);

}   // namespace ostrel::pdf
