#include "platform/Text.h"

#include "platform/ASCII.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <cstring>
#include <memory>

#include <unicode/brkiter.h>
#include <unicode/bytestream.h>
#include <unicode/casemap.h>
#include <unicode/uchar.h>
#include <unicode/utext.h>

namespace ostrel::text {
namespace {

constexpr char32_t replacement = 0xFFFD;
constexpr std::string_view replacementUTF8 = "\xEF\xBF\xBD";

bool isASCII(char c) { return static_cast<unsigned char>(c) < 0x80; }
bool isContinuation(char c) { return (static_cast<unsigned char>(c) & 0xC0) == 0x80; }

// The well-formed sequences after each lead byte (Unicode 15, table 3-7): what the second byte may be, and the length.
struct Lead {
    std::size_t length;
    unsigned char secondFirst, secondLast;
};
constexpr Lead leadOf(unsigned char lead) {
    if (lead < 0xC2) return {0, 0, 0};
    if (lead < 0xE0) return {2, 0x80, 0xBF};
    if (lead == 0xE0) return {3, 0xA0, 0xBF};
    if (lead == 0xED) return {3, 0x80, 0x9F};   // no surrogates
    if (lead < 0xF0) return {3, 0x80, 0xBF};
    if (lead == 0xF0) return {4, 0x90, 0xBF};
    if (lead < 0xF4) return {4, 0x80, 0xBF};
    if (lead == 0xF4) return {4, 0x80, 0x8F};
    return {0, 0, 0};
}

// The longest start of a well-formed sequence at the front of s, which begins with a byte above 7F. Complete when it
// has the length its lead byte asks for.
struct Sequence {
    std::size_t length;   // at least 1
    bool isComplete;
};
Sequence sequenceAt(std::string_view s) {
    const Lead lead = leadOf(static_cast<unsigned char>(s[0]));
    if (lead.length == 0) return {1, false};
    const std::size_t available = std::min(lead.length, s.size());
    std::size_t i = 1;
    if (i < available) {
        const auto second = static_cast<unsigned char>(s[1]);
        if (second < lead.secondFirst || second > lead.secondLast) return {1, false};
        ++i;
    }
    while (i < available && isContinuation(s[i])) ++i;
    return {i, i == lead.length};
}

char32_t codePointOf(std::string_view sequence) {
    const auto byte = [&](std::size_t i) { return static_cast<char32_t>(static_cast<unsigned char>(sequence[i])); };
    switch (sequence.size()) {
        case 2:
            return (byte(0) & 0x1F) << 6 | (byte(1) & 0x3F);
        case 3:
            return (byte(0) & 0x0F) << 12 | (byte(1) & 0x3F) << 6 | (byte(2) & 0x3F);
        default:
            return (byte(0) & 0x07) << 18 | (byte(1) & 0x3F) << 12 | (byte(2) & 0x3F) << 6 | (byte(3) & 0x3F);
    }
}

void appendLowerASCII(std::string& out, std::string_view s) {
    const std::size_t start = out.size();
    out.append(s);
    std::transform(out.begin() + static_cast<std::ptrdiff_t>(start), out.end(),
                   out.begin() + static_cast<std::ptrdiff_t>(start), [](char c) { return ascii::lower(c); });
}

template <typename Predicate>
std::string_view trim(std::string_view s, Predicate isTrimmed) {
    std::size_t start = 0;
    while (start < s.size()) {
        const Decoded first = decodeAt(s, start);
        if (!isTrimmed(first.codePoint)) break;
        start += first.length;
    }
    std::size_t end = s.size();
    while (end > start) {
        const Decoded last = decodeBefore(s, end);
        if (!isTrimmed(last.codePoint)) break;
        end -= last.length;
    }
    return s.substr(start, end - start);
}

UChar32 icu(char32_t c) { return static_cast<UChar32>(c); }

struct UTextClose {
    void operator()(UText* text) const { utext_close(text); }
};

// Opening a break iterator loads its rules; one per thread is kept.
icu::BreakIterator* graphemeIterator() {
    thread_local const std::unique_ptr<icu::BreakIterator> iterator = [] {
        UErrorCode status = U_ZERO_ERROR;
        std::unique_ptr<icu::BreakIterator> made(
            icu::BreakIterator::createCharacterInstance(icu::Locale::getRoot(), status));
        return U_SUCCESS(status) ? std::move(made) : nullptr;
    }();
    return iterator.get();
}

std::vector<std::size_t> asciiGraphemeLengths(std::string_view s) {
    std::vector<std::size_t> lengths;
    lengths.reserve(s.size());
    for (std::size_t i = 0; i < s.size(); i += lengths.back())
        lengths.push_back(s[i] == '\r' && i + 1 < s.size() && s[i + 1] == '\n' ? 2 : 1);
    return lengths;
}

std::vector<std::size_t> codePointLengths(std::string_view s) {
    std::vector<std::size_t> lengths;
    for (std::size_t i = 0; i < s.size(); i += lengths.back()) lengths.push_back(decodeAt(s, i).length);
    return lengths;
}

}   // namespace

bool isBlank(char32_t c) {
    if (c < 0x80) return c == ' ' || c == '\t';
    return u_charType(icu(c)) == U_SPACE_SEPARATOR;
}

bool isBlankOrNewline(char32_t c) {
    if (c < 0x80) return c == ' ' || (c >= '\t' && c <= '\r');
    return c == 0x85 || c == 0x2028 || c == 0x2029 || isBlank(c);
}

bool isWhiteSpace(char32_t c) {
    if (c < 0x80) return c == ' ' || (c >= '\t' && c <= '\r');
    return u_isUWhiteSpace(icu(c));
}

bool isWordCharacter(char32_t c) {
    if (c < 0x80) return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_';
    return (U_GET_GC_MASK(icu(c)) & (U_GC_L_MASK | U_GC_N_MASK)) != 0;
}

bool isControlOrFormat(char32_t c) { return (U_GET_GC_MASK(icu(c)) & (U_GC_CC_MASK | U_GC_CF_MASK)) != 0; }

Decoded decodeAt(std::string_view s, std::size_t at) {
    if (isASCII(s[at])) return {static_cast<char32_t>(s[at]), 1};
    const std::string_view rest = s.substr(at, 4);
    const Sequence sequence = sequenceAt(rest);
    if (!sequence.isComplete) return {replacement, 1};
    return {codePointOf(rest.substr(0, sequence.length)), sequence.length};
}

Decoded decodeBefore(std::string_view s, std::size_t end) {
    if (isASCII(s[end - 1])) return {static_cast<char32_t>(s[end - 1]), 1};
    std::size_t start = end - 1;
    while (start > 0 && end - start < 4 && isContinuation(s[start])) --start;
    const Decoded decoded = decodeAt(s.substr(0, end), start);
    return start + decoded.length == end ? decoded : Decoded{replacement, 1};
}

void append(std::string& out, char32_t c) {
    const auto put = [&](char32_t byte) { out.push_back(static_cast<char>(byte)); };
    if (c < 0x80) {
        put(c);
    } else if (c < 0x800) {
        put(0xC0 | c >> 6);
        put(0x80 | (c & 0x3F));
    } else if ((c >= 0xD800 && c < 0xE000) || c > 0x10FFFF) {
        out += replacementUTF8;
    } else if (c < 0x10000) {
        put(0xE0 | c >> 12);
        put(0x80 | (c >> 6 & 0x3F));
        put(0x80 | (c & 0x3F));
    } else {
        put(0xF0 | c >> 18);
        put(0x80 | (c >> 12 & 0x3F));
        put(0x80 | (c >> 6 & 0x3F));
        put(0x80 | (c & 0x3F));
    }
}

// Eight at a time: this is what makes 50 MB of plain text cheap.
std::size_t asciiPrefix(std::string_view s) {
    constexpr std::uint64_t highBits = 0x8080808080808080;
    std::size_t i = 0;
    for (; i + 8 <= s.size(); i += 8) {
        std::uint64_t eight;
        std::memcpy(&eight, s.data() + i, sizeof eight);
        if (eight & highBits) break;
    }
    while (i < s.size() && isASCII(s[i])) ++i;
    return i;
}

bool isValidUTF8(std::string_view bytes) {
    for (std::size_t i = 0;;) {
        i += asciiPrefix(bytes.substr(i));
        // Stay among the non-ASCII sequences: text that is not Latin has long runs of them.
        while (i < bytes.size() && !isASCII(bytes[i])) {
            const Sequence sequence = sequenceAt(bytes.substr(i, 4));
            if (!sequence.isComplete) return false;
            i += sequence.length;
        }
        if (i == bytes.size()) return true;
    }
}

std::string toValidUTF8(std::string_view bytes) {
    std::string out;
    out.reserve(bytes.size());
    for (std::size_t i = 0; i < bytes.size();) {
        const std::size_t plain = asciiPrefix(bytes.substr(i));
        out += bytes.substr(i, plain);
        i += plain;
        if (i == bytes.size()) break;
        // One mark for each maximal subpart (Unicode 15, section 3.9), so a cut character shows as one mark.
        const Sequence sequence = sequenceAt(bytes.substr(i, 4));
        out += sequence.isComplete ? bytes.substr(i, sequence.length) : replacementUTF8;
        i += sequence.length;
    }
    return out;
}

std::string_view trimBlanks(std::string_view s) { return trim(s, isBlank); }
std::string_view trimBlanksAndNewlines(std::string_view s) { return trim(s, isBlankOrNewline); }

std::string_view trimASCII(std::string_view s, std::string_view characters) {
    const std::size_t start = s.find_first_not_of(characters);
    if (start == std::string_view::npos) return s.substr(s.size());
    return s.substr(start, s.find_last_not_of(characters) - start + 1);
}

std::string lowerASCII(std::string_view s) {
    std::string out;
    appendLowerASCII(out, s);
    return out;
}

std::string lower(std::string_view s) {
    if (asciiPrefix(s) == s.size()) return lowerASCII(s);
    std::string out;
    out.reserve(s.size() + 16);
    icu::StringByteSink<std::string> sink(&out);
    UErrorCode status = U_ZERO_ERROR;
    constexpr std::size_t chunk = 1 << 30;   // the library counts in 32 bits
    while (!s.empty()) {
        std::size_t length = std::min(s.size(), chunk);
        while (length < s.size() && length > 1 && isContinuation(s[length])) --length;
        icu::CaseMap::utf8ToLower("", 0, icu::StringPiece(s.data(), static_cast<int32_t>(length)), sink, nullptr,
                                  status);
        s.remove_prefix(length);
    }
    return out;
}

char32_t foldCase(char32_t c) {
    if (c < 0x80) return c >= 'A' && c <= 'Z' ? c + ('a' - 'A') : c;
    return static_cast<char32_t>(u_foldCase(icu(c), U_FOLD_CASE_DEFAULT));
}

std::string foldCase(std::string_view s) {
    std::string out;
    out.reserve(s.size() + s.size() / 16);
    for (std::size_t i = 0; i < s.size();) {
        const std::size_t plain = asciiPrefix(s.substr(i));
        appendLowerASCII(out, s.substr(i, plain));
        i += plain;
        while (i < s.size() && !isASCII(s[i])) {
            const Decoded decoded = decodeAt(s, i);
            append(out, foldCase(decoded.codePoint));
            i += decoded.length;
        }
    }
    return out;
}

std::string_view prefix(std::string_view s, std::size_t maxBytes) {
    if (s.size() <= maxBytes) return s;
    const auto continues = [](char c) { return (static_cast<unsigned char>(c) & 0xC0) == 0x80; };
    constexpr std::size_t longest = 4;   // bytes of a character; more that continue are no text
    std::size_t end = maxBytes;
    while (end > 0 && maxBytes - end < longest && continues(s[end])) --end;
    return s.substr(0, continues(s[end]) ? maxBytes : end);
}

std::vector<std::size_t> graphemeLengths(std::string_view s) {
    if (asciiPrefix(s) == s.size()) return asciiGraphemeLengths(s);
    icu::BreakIterator* iterator = graphemeIterator();
    UErrorCode status = U_ZERO_ERROR;
    const std::unique_ptr<UText, UTextClose> source(
        utext_openUTF8(nullptr, s.data(), static_cast<int64_t>(s.size()), &status));
    if (iterator == nullptr || U_FAILURE(status)) return codePointLengths(s);
    iterator->setText(source.get(), status);
    if (U_FAILURE(status)) return codePointLengths(s);
    std::vector<std::size_t> lengths;
    std::size_t start = 0;
    iterator->first();
    for (int32_t end = iterator->next(); end != icu::BreakIterator::DONE; end = iterator->next()) {
        lengths.push_back(static_cast<std::size_t>(end) - start);
        start = static_cast<std::size_t>(end);
    }
    return lengths;
}

bool parseInteger(std::string_view s, long long& value) {
    if (s.starts_with('+')) {
        s.remove_prefix(1);
        if (s.starts_with('-')) return false;   // from_chars takes a minus
    }
    const auto [end, error] = std::from_chars(s.data(), s.data() + s.size(), value);
    return error == std::errc() && end == s.data() + s.size();
}

}   // namespace ostrel::text
