#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace ostrel::pdf {

using CodeTexts = std::map<int, std::u16string>;   // by code; an empty text is one, too

// What the codes of a font mean (ISO 32000-1 §9.10.3).
struct ToUnicode {
    std::size_t codeBytes = 1;   // 1 or 2
    CodeTexts texts;
    bool operator==(const ToUnicode&) const = default;
};

// False for an empty text and for characters that are none: U+0000, U+FEFF, U+FFFE (ISO 19005-2 §6.2.11.7.2).
bool isText(std::u16string_view text);

// Reads a ToUnicode CMap. nullopt if there is anything in it but a plain list of codes, because what is not understood
// must not get lost.
std::optional<ToUnicode> parseToUnicode(std::string_view cmap);
std::string makeToUnicode(const ToUnicode& map);

// Puts the text as a person would type it in place of look-alikes. Returns false if there were none.
bool makeTyped(ToUnicode& map);

}   // namespace ostrel::pdf
