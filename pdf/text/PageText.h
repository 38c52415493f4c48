#pragma once

#include <set>
#include <string>
#include <string_view>

namespace ostrel::pdf {

// Returns true for scripts whose glyphs stand for several characters, or in another order than these: South and South
// East Asian ones.
bool isClustered(char32_t c);

// Returns true for marks that join the character before them (general category M) and for the vowels and finals of
// Hangul syllables; not for those of the clustered scripts, of scripts from right to left, and of emoji.
bool isCombining(char32_t c);

bool hasRightToLeft(std::string_view text);

std::u32string composed(std::u32string_view text);   // NFC

// What a text says in the clustered scripts and in emoji; everything between is one blank.
struct PageText {
    std::u32string text;
    bool goesRightToLeft = false;   // in part

    // Characters with what combines with them, as written, each once and not more than 5,000. What the text has in
    // several ways that are drawn alike (U+00E9 and e with U+0301) is not among them.
    std::set<std::u32string> sequences{};
};
PageText pageText(std::string_view text);

std::u16string utf16(std::u32string_view text);   // as fonts tell what their glyphs mean

}   // namespace ostrel::pdf
