#pragma once

#include <string>
#include <string_view>

namespace ostrel::pdf {

// Scripts whose glyphs stand for several characters, or in another order than these: South and South East Asian ones.
bool isClustered(char32_t c);

// What a page says in those scripts and in emoji, in the order of its source; everything between is one blank. Text
// that is not shown (styles, comments, attributes) is left out.
struct PageText {
    std::u32string text;
    bool goesRightToLeft = false;   // in part
};
PageText pageText(std::string_view html);

}   // namespace ostrel::pdf
