#pragma once

// The classes of ASCII characters that formats and protocols are made of. Nothing here asks the locale; other bytes are
// in no class and stay as they are.
namespace ostrel::ascii {

constexpr bool isDigit(char c) { return c >= '0' && c <= '9'; }
constexpr bool isLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }
constexpr bool isAlphanumeric(char c) { return isDigit(c) || isLetter(c); }
constexpr char lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

// Returns 0 to 15; -1 if c is not a hexadecimal digit.
constexpr int hexValue(char c) {
    if (isDigit(c)) return c - '0';
    const char letter = lower(c);
    return letter >= 'a' && letter <= 'f' ? letter - 'a' + 10 : -1;
}

}   // namespace ostrel::ascii
