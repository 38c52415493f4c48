#include "pdf/fonts/TypedText.h"

#include <array>

#include <unicode/normalizer2.h>
#include <unicode/unistr.h>

namespace ostrel::pdf {
namespace {

// EquivalentUnifiedIdeograph of the CJK Radicals Supplement, from U+2E80 on (UCD, EquivalentUnifiedIdeograph.txt): they
// have no decomposition. 0: none.
constexpr char32_t firstRadical = 0x2E80;
constexpr std::array<char32_t, 116> radicals = {
    0x0,    0x5382,  0x4E5B, 0x4E5A,  0x4E59,  0x4EBB, 0x5182,  0x20628, 0x5200, 0x5202,  0x535C, 0x353E, 0x5C0F,
    0x5C0F, 0x5140,  0x5C23, 0x5C22,  0x21BC2, 0x5DF3, 0x5E7A,  0x5F51,  0x5F50, 0x5FC4,  0x5FC3, 0x624C, 0x6535,
    0x0,    0x65E1,  0x65E5, 0x6708,  0x6B7A,  0x6BCD, 0x6C11,  0x6C35,  0x6C3A, 0x706C,  0x722B, 0x722B, 0x4E2C,
    0x725B, 0x72AD,  0x738B, 0x24D14, 0x76EE,  0x793A, 0x793B,  0x25AD7, 0x7CF9, 0x7E9F,  0x7F53, 0x7F52, 0x34C1,
    0x5197, 0x2626B, 0x7F8A, 0x2634C, 0x2634B, 0x8002, 0x8080,  0x807F,  0x8089, 0x26951, 0x8279, 0x8279, 0x8279,
    0x864E, 0x8864,  0x8980, 0x897F,  0x89C1,  0x89D2, 0x278B2, 0x8BA0,  0x8D1D, 0x27FB7, 0x8F66, 0x8FB6, 0x8FB6,
    0x8FB6, 0x9091,  0x9485, 0x9577,  0x9578,  0x957F, 0x95E8,  0x28E0F, 0x961D, 0x96E8,  0x9752, 0x97E6, 0x9875,
    0x98CE, 0x98DE,  0x98DF, 0x2967F, 0x98E0,  0x9963, 0x29810, 0x9A6C,  0x9AA8, 0x9B3C,  0x9C7C, 0x9E1F, 0x5364,
    0x9EA6, 0x9EC4,  0x9EFE, 0x6589,  0x9F50,  0x6B6F, 0x9F7F,  0x7ADC,  0x9F99, 0x9F9C,  0x4E80, 0x9F9F,
};

// Characters that exist for the sake of old character sets and stand for others (compatibility blocks).
bool isStandIn(char32_t c) {
    return (c >= 0x2F00 && c <= 0x2FDF)      // Kangxi radicals
           || (c >= 0xF900 && c <= 0xFAFF)   // CJK compatibility ideographs
           || (c >= 0xFB00 && c <= 0xFDFF)   // Latin, Armenian, Hebrew and Arabic presentation forms
           || (c >= 0xFE70 && c <= 0xFEFC)   // Arabic presentation forms B
           || (c >= 0x2F800 && c <= 0x2FA1F);
}

}   // namespace

std::u16string asTyped(std::u16string_view text) {
    UErrorCode status = U_ZERO_ERROR;
    const icu::Normalizer2* normalizer = icu::Normalizer2::getNFKCInstance(status);
    const icu::UnicodeString given(false, text.data(), static_cast<std::int32_t>(text.size()));
    icu::UnicodeString typed;
    for (std::int32_t at = 0; at < given.length(); at = given.moveIndex32(at, 1)) {
        const auto c = static_cast<char32_t>(given.char32At(at));
        const bool isRadical = c >= firstRadical && c < firstRadical + radicals.size();
        if (isRadical && radicals[c - firstRadical] != 0) {
            typed.append(static_cast<UChar32>(radicals[c - firstRadical]));
        } else if (isStandIn(c) && U_SUCCESS(status)) {
            icu::UnicodeString meant = normalizer->normalize(icu::UnicodeString(static_cast<UChar32>(c)), status);
            if (meant.length() > 1 && meant.charAt(0) == u' ') meant.remove(0, 1);   // a vowel sign shown alone
            // Viewers turn lines that go from right to left round sign by sign; several in one place would come out
            // backwards. A viewer's own search takes the one for the several.
            const bool isTurned = c >= 0xFB1D && c <= 0xFEFC && meant.countChar32() > 1;
            typed.append(isTurned ? icu::UnicodeString(static_cast<UChar32>(c)) : meant);
        } else {
            typed.append(static_cast<UChar32>(c));
        }
    }
    return {typed.getBuffer(), static_cast<std::size_t>(typed.length())};
}

}   // namespace ostrel::pdf
