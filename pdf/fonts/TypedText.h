#pragma once

#include <string>
#include <string_view>

namespace ostrel::pdf {

// The text as a person would type it. A font draws some characters with one glyph, and what the engine writes for the
// glyph may be the other one: a radical for the ideograph it looks like, the medial form of an Arabic letter for the
// letter, a ligature for its letters. A search for the word as typed would miss it. Everything else stays.
std::u16string asTyped(std::u16string_view text);

}   // namespace ostrel::pdf
