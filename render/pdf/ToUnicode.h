#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace ostrel::pdf {

// What one-byte codes mean as text: UTF-16BE in hexadecimal digits, as a PDF writes it.
using CodeTexts = std::map<int, std::string>;

// Reads a ToUnicode CMap (ISO 32000-1 §9.10.3) for one-byte codes. Nothing when there is anything in it that is not a
// plain list of codes, because what is not understood must not get lost.
std::optional<CodeTexts> parseToUnicode(std::string_view cmap);
std::string makeToUnicode(const CodeTexts& texts);

}   // namespace ostrel::pdf
