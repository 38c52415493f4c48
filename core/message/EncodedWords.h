#pragma once

#include <string>
#include <string_view>

// Encoded words in header text (RFC 2047).
namespace ostrel::EncodedWords {

// Replaces every well-formed encoded word by its text and drops the white space between two of them; a malformed word
// stays as written. Never fails.
std::string decode(std::string_view text);

}   // namespace ostrel::EncodedWords
