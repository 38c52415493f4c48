#include "pdf/text/PageText.h"

#include "platform/Text.h"

#include <algorithm>
#include <map>
#include <optional>

#include <unicode/normalizer2.h>
#include <unicode/uchar.h>
#include <unicode/unistr.h>

namespace ostrel::pdf {
namespace {

bool isWithin(char32_t c, char32_t first, char32_t last) { return c >= first && c <= last; }

bool isEmojiPart(char32_t c) {
    return isWithin(c, 0x1F000, 0x1FBFF) || isWithin(c, 0x2190, 0x2BFF) || isWithin(c, 0xE0020, 0xE007F) || c == 0xA9 ||
           c == 0xAE || c == 0x203C || c == 0x2049 || c == 0x20E3 || c == 0xFE0F || c == 0x3030 || c == 0x303D ||
           c == 0x3297 || c == 0x3299;
}

bool isKeycapBase(char32_t c) { return isWithin(c, U'0', U'9') || c == U'#' || c == U'*'; }

constexpr char32_t zeroWidthNonJoiner = 0x200C, zeroWidthJoiner = 0x200D;

bool isRightToLeft(char32_t c) { return isWithin(c, 0x0590, 0x08FF); }

// Beyond these nobody searches.
constexpr std::size_t maxSequences = 5'000, maxSequenceLength = 64;

// What is drawn alike has the same: the text composed, without what is not drawn (selectors of variants).
std::u32string look(std::u32string_view text) {
    std::u32string drawn;
    for (const char32_t c : text)
        if (!u_hasBinaryProperty(static_cast<UChar32>(c), UCHAR_DEFAULT_IGNORABLE_CODE_POINT)) drawn += c;
    return composed(drawn);
}

template <typename Read>
void readCharacters(std::string_view text, Read read) {
    for (std::size_t at = 0; at < text.size();) {
        const auto [c, length] = text::decodeAt(text, at);
        at += length;
        read(c);
    }
}

bool canBeBase(char32_t c) {
    return !text::isBlankOrNewline(c) && !text::isControlOrFormat(c) && !isClustered(c) && !isRightToLeft(c);
}

std::set<std::u32string> allSequences(std::string_view text) {
    std::set<std::u32string> all;
    std::u32string now;
    const auto end = [&] {
        if (now.size() > 1 && now.size() <= maxSequenceLength && all.size() < maxSequences) all.insert(now);
        now.clear();
    };
    readCharacters(text, [&](char32_t c) {
        if (isCombining(c)) {
            if (!now.empty() && now.size() <= maxSequenceLength) now += c;
            return;
        }
        end();
        if (canBeBase(c)) now += c;
    });
    end();
    return all;
}

std::set<std::u32string> unmistakableSequences(std::string_view text) {
    std::map<std::u32string, std::optional<std::u32string>> byLook;   // nullopt: there are several
    for (const auto& sequence : allSequences(text)) {
        const auto [place, isNew] = byLook.try_emplace(look(sequence), sequence);
        if (!isNew) place->second.reset();
    }
    std::u32string alone;
    const auto end = [&] {
        if (const auto found = byLook.find(alone); found != byLook.end()) found->second.reset();
        alone.clear();
    };
    readCharacters(text, [&](char32_t c) {
        if (isCombining(c)) return alone.clear();
        end();
        alone += c;
    });
    end();
    std::set<std::u32string> found;
    for (const auto& [look, sequence] : byLook)
        if (sequence) found.insert(*sequence);
    return found;
}

}   // namespace

bool isClustered(char32_t c) {
    return isWithin(c, 0x0900, 0x109F) || isWithin(c, 0x1780, 0x17FF) || isWithin(c, 0x1A20, 0x1AAF) ||
           isWithin(c, 0x1B00, 0x1C4F) || isWithin(c, 0xA840, 0xA95F) || isWithin(c, 0xA980, 0xABFF);
}

bool isCombining(char32_t c) {
    if (c < 0x300 || isClustered(c) || isRightToLeft(c) || c == 0xFE0F || c == 0x20E3) return false;
    return isWithin(c, 0x1160, 0x11FF) || (U_GET_GC_MASK(static_cast<UChar32>(c)) & U_GC_M_MASK) != 0;
}

bool hasRightToLeft(std::string_view text) {
    bool found = false;
    readCharacters(text, [&](char32_t c) { found = found || isRightToLeft(c); });
    return found;
}

std::u32string composed(std::u32string_view text) {
    icu::UnicodeString units;
    for (const char32_t c : text) units.append(static_cast<UChar32>(c));
    auto status = U_ZERO_ERROR;
    const auto* const composer = icu::Normalizer2::getNFCInstance(status);
    if (U_FAILURE(status)) return std::u32string(text);
    const auto normal = composer->normalize(units, status);
    std::u32string found;
    for (int at = 0; at < normal.length(); at = normal.moveIndex32(at, 1))
        found += static_cast<char32_t>(normal.char32At(at));
    return found;
}

PageText pageText(std::string_view text) {
    PageText found;
    // Below U+0300 there is nothing of either.
    if (std::ranges::all_of(text, [](char c) { return static_cast<unsigned char>(c) < 0xCC; })) return found;
    bool hasSequences = false;
    char32_t before = 0;
    readCharacters(text, [&](char32_t c) {
        const bool combines = isCombining(c);
        hasSequences = hasSequences || combines;
        if (isRightToLeft(c)) found.goesRightToLeft = true;
        const bool isOfCluster = combines && !found.text.empty() && isClustered(found.text.back());
        if (isClustered(c) || isOfCluster || isEmojiPart(c) || c == zeroWidthJoiner || c == zeroWidthNonJoiner) {
            if ((c == 0xFE0F || c == 0x20E3) && isKeycapBase(before)) found.text += before;
            found.text += c;
        } else if (!found.text.empty() && found.text.back() != U' ') {
            found.text += U' ';
        }
        before = c;
    });
    if (hasSequences) found.sequences = unmistakableSequences(text);
    return found;
}

std::u16string utf16(std::u32string_view text) {
    std::u16string units;
    for (const char32_t c : text) {
        if (c >= 0x10000) units += static_cast<char16_t>(0xD800 + ((c - 0x10000) >> 10));
        units += static_cast<char16_t>(c < 0x10000 ? c : 0xDC00 + ((c - 0x10000) & 0x3FF));
    }
    return units;
}

}   // namespace ostrel::pdf
