#pragma once

#include <memory>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <string_view>

namespace ostrel::fonts {

using Characters = std::set<char32_t>;
struct Range {
    char32_t first, last;
};
Characters charactersIn(std::span<const Range> ranges);

// Cuts smaller fonts, each a file of its own, out of one that is installed: with the same outlines, advances, names and
// layout rules as far as their characters go.
class FontCutter {
public:
    // A file's bytes, which must stay, and which of its faces is meant.
    FontCutter(std::string_view file, unsigned face);
    ~FontCutter();
    FontCutter(const FontCutter&) = delete;
    FontCutter& operator=(const FontCutter&) = delete;

    // Of a TrueType font, without the instructions for coarse screens, which make up half of it and which no print
    // uses. Nothing where the result would not be the same in print.
    std::optional<std::string> cut(const Characters& characters) const;

    // The same of a font that may have PostScript outlines, and without what it has for other languages: those of one
    // language make half of an East Asian font's glyphs. The result is a TrueType font in any case; its curves stray
    // from PostScript ones by two or three thousandths of the font's size, a quarter of a printer's dot in common text.
    std::optional<std::string> cutPortion(const Characters& characters) const;

private:
    struct Face;
    std::unique_ptr<Face> face_;
};

}   // namespace ostrel::fonts
