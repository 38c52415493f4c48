#include "core/page/HTMLMatchers.h"

#include "platform/ASCII.h"
#include "platform/Text.h"

#include <algorithm>
#include <array>

namespace ostrel::html {

namespace {

constexpr std::size_t npos = std::string_view::npos;
constexpr std::string_view longS = "\u017F";        // folds to s
constexpr std::string_view kelvinSign = "\u212A";   // folds to k

bool isASCIISpace(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }
bool isASCII(char c) { return static_cast<unsigned char>(c) < 0x80; }

// Every white-space character beyond ASCII begins with one of these bytes, in UTF-8.
bool mayBeginSpace(char c) { return c == '\xC2' || c == '\xE1' || c == '\xE2' || c == '\xE3'; }

// The length of the white-space character at `at`; 0 when there is none.
std::size_t spaceAt(std::string_view text, std::size_t at) {
    if (at >= text.size()) return 0;
    if (isASCII(text[at])) return isASCIISpace(text[at]) ? 1 : 0;
    if (!mayBeginSpace(text[at])) return 0;
    const auto decoded = text::decodeAt(text, at);
    return text::isWhiteSpace(decoded.codePoint) ? decoded.length : 0;
}

// The length of the white-space character that ends at `end` and does not begin before `from`.
std::size_t spaceBefore(std::string_view text, std::size_t from, std::size_t end) {
    if (end <= from) return 0;
    if (isASCII(text[end - 1])) return isASCIISpace(text[end - 1]) ? 1 : 0;
    const auto decoded = text::decodeBefore(text, end);
    return decoded.length <= end - from && text::isWhiteSpace(decoded.codePoint) ? decoded.length : 0;
}

bool endsWith(std::string_view text, std::size_t from, std::size_t end, std::string_view tail) {
    return end - from >= tail.size() && text.substr(end - tail.size(), tail.size()) == tail;
}

// The length of the [a-z] that ends at `end` and does not begin before `from`.
std::size_t letterBefore(std::string_view text, std::size_t from, std::size_t end) {
    if (end <= from) return 0;
    if (isASCII(text[end - 1])) return ascii::isLetter(text[end - 1]) ? 1 : 0;
    for (const auto letter : {longS, kelvinSign}) {
        if (endsWith(text, from, end, letter)) return letter.size();
    }
    return 0;
}

// The length of the one character `lower` at `at`, in either case; 0 when another one stands there.
std::size_t characterAt(std::string_view text, std::size_t at, char lower) {
    if (at >= text.size()) return 0;
    const char c = text[at];
    if (ascii::lower(c) == lower) return 1;
    if (lower == 's' && text.substr(at, longS.size()) == longS) return longS.size();
    if (lower == 'k' && text.substr(at, kelvinSign.size()) == kelvinSign) return kelvinSign.size();
    return 0;
}

// The start of the word that ends at `end` and does not begin before `from`, or npos.
std::size_t wordBefore(std::string_view text, std::size_t from, std::size_t end, std::string_view word) {
    for (; !word.empty(); word.remove_suffix(1)) {
        const std::size_t length = letterBefore(text, from, end);
        if (length == 0 || characterAt(text, end - length, word.back()) == 0) return npos;
        end -= length;
    }
    return end;
}

// NAME\b: the end of the name, or npos. The name ends in a letter, so the boundary asks for no word character behind.
std::size_t tagNameAt(std::string_view text, std::size_t at, std::string_view name) {
    const std::size_t end = wordAt(text, at, name);
    if (end == npos || end == text.size()) return end;
    return text::isWordCharacter(text::decodeAt(text, end).codePoint) ? npos : end;
}

// (?:"[^"]*"|'[^']*'|[^\s>]+) where no white space stands: the end of the match, npos when there is none. A quote that
// is never closed is a character of an unquoted value; it is the last of its kind, so that is found out only once.
// Giving back white space before the value helps nobody: none of the three readings begins with it.
std::size_t valueEnd(std::string_view text, std::size_t value) {
    const char quote = quoteAt(text, value);
    const std::size_t close = quote == '\0' ? npos : text.find(quote, value + 1);
    if (close != npos) return close + 1;
    const std::size_t end = skipUnquotedValue(text, value);
    return end > value ? end : npos;
}

// (?:https?:|//|ftp:|file:)
bool hasRemoteScheme(std::string_view text, std::size_t at) {
    constexpr std::array<std::string_view, 5> schemes = {"https:", "http:", "//", "ftp:", "file:"};
    return std::ranges::any_of(schemes, [&](auto scheme) { return wordAt(text, at, scheme) != npos; });
}

}   // namespace

std::size_t wordAt(std::string_view text, std::size_t at, std::string_view word) {
    for (const char c : word) {
        const std::size_t length = characterAt(text, at, c);
        if (length == 0) return npos;
        at += length;
    }
    return at;
}

std::size_t skipSpace(std::string_view text, std::size_t at) {
    while (const std::size_t length = spaceAt(text, at)) at += length;
    return at;
}

std::size_t skipSpaceBack(std::string_view text, std::size_t from, std::size_t end) {
    while (const std::size_t length = spaceBefore(text, from, end)) end -= length;
    return end;
}

std::size_t skipUnquotedValue(std::string_view text, std::size_t at) {
    while (at < text.size() && text[at] != '>' && spaceAt(text, at) == 0) ++at;
    return at;
}

std::size_t skipPlainValue(std::string_view text, std::size_t at) {
    while (at < text.size() && text[at] != '>' && quoteAt(text, at) == 0 && spaceAt(text, at) == 0) ++at;
    return at;
}

char quoteAt(std::string_view text, std::size_t at) {
    return at < text.size() && (text[at] == '"' || text[at] == '\'') ? text[at] : '\0';
}

// [^>]* can only end at the first ">". When there is none, no later start has one either: the search is over, and that
// last look ahead is the only one that is not part of a match.
std::optional<Match> nextTag(std::string_view text, std::size_t from, std::string_view name) {
    for (std::size_t begin = text.find('<', from); begin != npos; begin = text.find('<', begin + 1)) {
        const std::size_t nameEnd = tagNameAt(text, begin + 1, name);
        if (nameEnd == npos) continue;
        const std::size_t close = text.find('>', nameEnd);
        if (close == npos) return std::nullopt;
        return Match{begin, close + 1};
    }
    return std::nullopt;
}

// White space that leads to no ">" is not walked again: the next "</" lies behind it.
std::optional<Match> nextClosingTag(std::string_view text, std::size_t from, std::string_view name) {
    for (std::size_t begin = text.find("</", from); begin != npos; begin = text.find("</", begin + 2)) {
        const std::size_t nameEnd = wordAt(text, begin + 2, name);
        if (nameEnd == npos) continue;
        const std::size_t close = skipSpace(text, nameEnd);
        if (close < text.size() && text[close] == '>') return Match{begin, close + 1};
    }
    return std::nullopt;
}

// The opening tag ends at its first ">", and the lazy middle at the first closing tag behind that. Where there is no
// closing tag, none follows a later start either: the search is over, as above.
std::optional<Match> nextElement(std::string_view text, std::size_t from, std::string_view name) {
    const auto opening = nextTag(text, from, name);
    if (!opening) return std::nullopt;
    const auto closing = nextClosingTag(text, opening->end, name);
    if (!closing) return std::nullopt;
    return Match{opening->begin, closing->end};
}

std::optional<Match> nextStructureTag(std::string_view text, std::size_t from) {
    constexpr std::array<std::string_view, 5> names = {"form", "html", "head", "body", "title"};
    for (std::size_t begin = text.find('<', from); begin != npos; begin = text.find('<', begin + 1)) {
        const std::size_t nameBegin = begin + (begin + 1 < text.size() && text[begin + 1] == '/' ? 2 : 1);
        for (const auto name : names) {
            const std::size_t nameEnd = tagNameAt(text, nameBegin, name);
            if (nameEnd == npos) continue;
            const std::size_t close = text.find('>', nameEnd);
            if (close == npos) return std::nullopt;
            return Match{begin, close + 1};
        }
    }
    return std::nullopt;
}

// Searches for the sign and looks back for the rest, which cannot contain another sign: each stretch between two signs
// is walked once. The name is all the letters before the sign because white space has to stand before it.
std::optional<Assignment> nextAssignment(std::string_view text, std::size_t from) {
    for (std::size_t sign = text.find('=', from); sign != npos; sign = text.find('=', sign + 1)) {
        const std::size_t nameEnd = skipSpaceBack(text, from, sign);
        std::size_t name = nameEnd;
        while (const std::size_t length = letterBefore(text, from, name)) name -= length;
        const std::size_t space = spaceBefore(text, from, name);
        if (name == nameEnd || space == 0) continue;
        return Assignment{name - space, name, nameEnd, sign, skipSpace(text, sign + 1)};
    }
    return std::nullopt;
}

bool isNamed(std::string_view text, const Assignment& assignment, std::string_view name) {
    return wordAt(text, assignment.name, name) == assignment.nameEnd;
}

// Each sign makes at most one match, and matches of later signs begin later. \s+ begins at the first white space of its
// run: what matches from a later one matches from there too.
std::optional<Match> nextEventHandler(std::string_view text, std::size_t from) {
    for (auto found = nextAssignment(text, from); found; found = nextAssignment(text, found->sign + 1)) {
        const std::size_t on = wordAt(text, found->name, "on");
        if (on == npos || on >= found->nameEnd) continue;
        const std::size_t end = valueEnd(text, found->value);
        if (end != npos) return Match{skipSpaceBack(text, from, found->name), end};
    }
    return std::nullopt;
}

std::optional<Match> nextFetchingAttribute(std::string_view text, std::size_t from) {
    constexpr std::array<std::string_view, 5> names = {"srcset", "background", "lowsrc", "dynsrc", "poster"};
    for (auto found = nextAssignment(text, from); found; found = nextAssignment(text, found->sign + 1)) {
        if (std::ranges::none_of(names, [&](auto name) { return isNamed(text, *found, name); })) continue;
        const std::size_t end = valueEnd(text, found->value);
        if (end != npos) return Match{found->space, end};
    }
    return std::nullopt;
}

// Group 2 is the quote where one stands: taken as empty, "javascript:" would have to match the quote itself. The value
// stops at the first quote, so \2 stands right behind it or the sign makes no match; shorter values end before
// something that is no quote. The next value that fails this way begins behind that quote: linear.
std::optional<ScriptURL> nextScriptURL(std::string_view text, std::size_t from) {
    for (std::size_t sign = text.find('=', from); sign != npos; sign = text.find('=', sign + 1)) {
        std::size_t at = skipSpace(text, sign + 1);
        const char quote = quoteAt(text, at);
        if (quote != '\0') at = skipSpace(text, at + 1);
        at = wordAt(text, at, "javascript:");
        if (at == npos) continue;
        const std::size_t nameEnd = skipSpaceBack(text, from, sign);
        std::size_t name = npos;
        for (const auto* word : {"href", "src", "action"}) name = std::min(name, wordBefore(text, from, nameEnd, word));
        if (name == npos) continue;
        at = skipPlainValue(text, at);
        if (quote == '\0') return ScriptURL{{name, at}, nameEnd};
        if (quoteAt(text, at) == quote) return ScriptURL{{name, at + 1}, nameEnd};
    }
    return std::nullopt;
}

std::optional<Match> nextImport(std::string_view text, std::size_t from) {
    for (std::size_t begin = text.find('@', from); begin != npos; begin = text.find('@', begin + 1)) {
        const std::size_t nameEnd = wordAt(text, begin + 1, "import");
        if (nameEnd == npos) continue;
        const std::size_t semicolon = text.find(';', nameEnd);
        return Match{begin, semicolon == npos ? text.size() : semicolon + 1};
    }
    return std::nullopt;
}

// A quote is always taken: neither white space nor a scheme matches one. [^)]* ends at the first ")"; without one the
// search is over, as for tags.
std::optional<Match> nextRemoteURL(std::string_view text, std::size_t from) {
    for (std::size_t open = text.find('(', from); open != npos; open = text.find('(', open + 1)) {
        const std::size_t begin = wordBefore(text, from, open, "url");
        if (begin == npos) continue;
        std::size_t at = skipSpace(text, open + 1);
        if (quoteAt(text, at) != '\0') at = skipSpace(text, at + 1);
        if (!hasRemoteScheme(text, at)) continue;
        const std::size_t close = text.find(')', at);
        if (close == npos) return std::nullopt;
        return Match{begin, close + 1};
    }
    return std::nullopt;
}

// The first part takes the whole run of [^\s<>&"] and then gives back what the last character may not be; one character
// has to be left to each. Where that fails it fails for every later start in the same run, so the run is skipped.
std::optional<Match> nextWebAddress(std::string_view text, std::size_t from) {
    constexpr std::string_view runEnds = "<>&\"", neverLast = ".,;:!?)]";
    for (std::size_t colon = text.find("://", from); colon != npos; colon = text.find("://", colon)) {
        std::size_t begin = wordBefore(text, from, colon, "https");
        if (begin == npos) begin = wordBefore(text, from, colon, "http");
        const std::size_t run = colon + 3;
        colon = run;
        if (begin == npos) continue;
        std::size_t end = run;
        while (end < text.size() && runEnds.find(text[end]) == npos && spaceAt(text, end) == 0) ++end;
        const std::size_t last = text.find_last_not_of(neverLast, end - 1);
        const std::size_t second = run < end ? run + text::decodeAt(text, run).length : end;
        if (last != npos && last >= second && last < end) return Match{begin, last + 1};
        colon = end;
    }
    return std::nullopt;
}

}   // namespace ostrel::html
