#pragma once

#include <string>
#include <string_view>

namespace ostrel::pdf {

// Returns true for scripts whose glyphs stand for several characters, or in another order than these: South and South
// East Asian ones.
bool isClustered(char32_t c);

// What a text says in those scripts and in emoji; everything between is one blank.
struct PageText {
    std::u32string text;
    bool goesRightToLeft = false;   // in part
};
PageText pageText(std::string_view text);

std::u16string utf16(std::u32string_view text);   // as fonts tell what their glyphs mean

}   // namespace ostrel::pdf
