#include "pdf/text/PageText.h"

#include "platform/Text.h"

#include <algorithm>

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

}   // namespace

bool isClustered(char32_t c) {
    return isWithin(c, 0x0900, 0x109F) || isWithin(c, 0x1780, 0x17FF) || isWithin(c, 0x1A20, 0x1AAF) ||
           isWithin(c, 0x1B00, 0x1C4F) || isWithin(c, 0xA840, 0xA95F) || isWithin(c, 0xA980, 0xABFF);
}

PageText pageText(std::string_view text) {
    PageText found;
    if (std::ranges::all_of(text, [](char c) { return static_cast<unsigned char>(c) < 0xE0; })) return found;
    char32_t before = 0;
    for (std::size_t at = 0; at < text.size();) {
        const auto [c, length] = text::decodeAt(text, at);
        at += length;
        if (isWithin(c, 0x0590, 0x08FF)) found.goesRightToLeft = true;
        if (isClustered(c) || isEmojiPart(c) || c == zeroWidthJoiner || c == zeroWidthNonJoiner) {
            if ((c == 0xFE0F || c == 0x20E3) && isKeycapBase(before)) found.text += before;
            found.text += c;
        } else if (!found.text.empty() && found.text.back() != U' ') {
            found.text += U' ';
        }
        before = c;
    }
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
