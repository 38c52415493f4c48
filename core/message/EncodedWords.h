#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

// Encoded words in header text (RFC 2047).
namespace ostrel::EncodedWords {

// What an encoded word begins with: "=?" charset "?" encoding "?"    (RFC 2047 section 2).
struct Opening {
    std::string_view charset;   // a view of the text; at most 40 characters (RFC 2978 section 2.3)
    bool isBase64 = false;      // else the Q encoding
    std::size_t size = 0;       // in bytes, to the encoded text
};
// nullopt if the text does not begin with one.
std::optional<Opening> openingOf(std::string_view text);

// Replaces every well-formed encoded word by its text and drops the white space between two of them; a malformed word
// stays as written. Never fails.
std::string decode(std::string_view text);

}   // namespace ostrel::EncodedWords
