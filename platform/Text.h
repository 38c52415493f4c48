#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

// Unicode operations on valid UTF-8 text. Nothing here asks the locale. Invalid UTF-8 never crashes: a bad byte counts
// as one unknown character.
namespace ostrel::text {

// Space, tab and the Unicode space separators (general category Zs).
bool isBlank(char32_t c);
// Blanks and line breaks: U+000A-U+000D, U+0085, U+2028, U+2029.
bool isBlankOrNewline(char32_t c);
// The White_Space property: what \s matches.
bool isWhiteSpace(char32_t c);
// Letters (L*), numbers (N*) and the underscore: what \w matches and \b looks at.
bool isWordCharacter(char32_t c);
// Control and format characters (general categories Cc and Cf).
bool isControlOrFormat(char32_t c);

// Returns the code point at byte offset at (< size) and its length in bytes (1 to 4). A bad byte is {U+FFFD, 1}.
struct Decoded {
    char32_t codePoint;
    std::size_t length;
};
Decoded decodeAt(std::string_view s, std::size_t at);
// Returns the code point that ends just before byte offset end (> 0).
Decoded decodeBefore(std::string_view s, std::size_t end);
void append(std::string& out, char32_t codePoint);

// Returns the number of ASCII bytes before the first other one.
std::size_t asciiPrefix(std::string_view bytes);
bool isValidUTF8(std::string_view bytes);
// Returns the text with every invalid sequence replaced by U+FFFD.
std::string toValidUTF8(std::string_view bytes);

// Return views into the argument.
std::string_view trimBlanks(std::string_view s);
std::string_view trimBlanksAndNewlines(std::string_view s);
std::string_view trimASCII(std::string_view s, std::string_view characters);

// A-Z only; the rest stays. For protocol words that are ASCII by definition.
std::string lowerASCII(std::string_view s);
// Full Unicode lower-casing, root locale.
std::string lower(std::string_view s);
// Simple case folding code point by code point (C+S of CaseFolding.txt): equal results mean "equal ignoring case".
std::string foldCase(std::string_view s);
char32_t foldCase(char32_t c);
// Returns the text without differences of case, accents and width (NFKD, marks dropped, full case folding), every run
// of white space one blank: for searches as people type them.
std::string foldForSearch(std::string_view s);

// Returns the longest beginning of the text that has at most maxBytes and ends between two characters.
std::string_view prefix(std::string_view s, std::size_t maxBytes);

// Returns the lengths in bytes of the extended grapheme clusters of s, in order.
std::vector<std::size_t> graphemeLengths(std::string_view s);

// Parses an optional sign and ASCII digits. Returns false if s is anything else or does not fit in 64 bits.
bool parseInteger(std::string_view s, long long& value);

}   // namespace ostrel::text
