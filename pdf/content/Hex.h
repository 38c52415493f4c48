#pragma once

#include <cstddef>
#include <string>
#include <string_view>

// Hexadecimal digits, as PDFs write strings, codes and characters.
namespace ostrel::pdf::hex {

// Returns the digit's value; -1 if it is none. Either case.
constexpr int digit(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

// Adds so many digits, upper case.
constexpr void append(std::string& out, unsigned value, std::size_t digits) {
    for (auto left = digits; left-- > 0;) out += "0123456789ABCDEF"[value >> 4 * left & 15];
}

// Adds UTF-16BE.
constexpr void append(std::string& out, std::u16string_view text) {
    for (const char16_t unit : text) append(out, unit, 4);
}

}   // namespace ostrel::pdf::hex
