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

// The code point at byte offset at and its length in bytes (1 to 4). A bad byte is {U+FFFD, 1}. at must be < size.
struct Decoded {
    char32_t codePoint;
    std::size_t length;
};
Decoded decodeAt(std::string_view s, std::size_t at);
// The code point that ends just before byte offset end (end > 0).
Decoded decodeBefore(std::string_view s, std::size_t end);
void append(std::string& out, char32_t codePoint);

// How many of the first bytes are ASCII.
std::size_t asciiPrefix(std::string_view bytes);
bool isValidUTF8(std::string_view bytes);
// Every invalid sequence replaced by U+FFFD.
std::string toValidUTF8(std::string_view bytes);

// Views into the argument.
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
// For search as a person types it: case, accents and width folded away (NFKD, marks dropped, full case folding), white
// space runs made one blank.
std::string foldForSearch(std::string_view s);

// The first bytes of the text, at most so many, ending between two characters.
std::string_view prefix(std::string_view s, std::size_t mostBytes);

// Byte length of the extended grapheme clusters of s, in order.
std::vector<std::size_t> graphemeLengths(std::string_view s);

// Parses an optional sign and ASCII digits, nothing else. False when it is no such text or does not fit in 64 bits.
bool parseInteger(std::string_view s, long long& value);

}   // namespace ostrel::text
