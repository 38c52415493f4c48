#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace ostrel::pdf {

std::string hexText(std::u32string_view text);   // UTF-16BE in hexadecimal digits, as a PDF writes it

// What codes mean as text, as hexText() gives it.
using CodeTexts = std::map<int, std::string>;

struct ToUnicode {
    std::size_t codeBytes = 1;   // 1 or 2
    CodeTexts texts;
    bool operator==(const ToUnicode&) const = default;
};

// Reads a ToUnicode CMap (ISO 32000-1 §9.10.3). Nothing when there is anything in it that is not a plain list of codes,
// because what is not understood must not get lost.
std::optional<ToUnicode> parseToUnicode(std::string_view cmap);
std::string makeToUnicode(const ToUnicode& map);

// Puts the text as a person would type it in place of look-alikes. False when there were none.
bool makeTyped(ToUnicode& map);

}   // namespace ostrel::pdf
