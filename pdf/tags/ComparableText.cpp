#include "pdf/tags/ComparableText.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include <unicode/normalizer2.h>
#include <unicode/uchar.h>
#include <unicode/unistr.h>

namespace ostrel::pdf {
namespace {

bool isBlank(char16_t c) { return c <= 0x20 || c == 0x7F || c == 0xA0; }

// Brackets face the other way where text goes from right to left.
char16_t unmirrored(char16_t c) {
    switch (c) {
        case u')':
            return u'(';
        case u']':
            return u'[';
        case u'}':
            return u'{';
        case u'>':
            return u'<';
        case u'\u00BB':
            return u'\u00AB';
        default:
            return c;
    }
}

bool isAnyBlank(char16_t c) { return isBlank(c) || (c > 0xFF && u_isUWhiteSpace(c)); }

// As it is compared, but for its blanks.
std::u16string folded(std::u16string text) {
    if (std::ranges::all_of(text, [](char16_t c) { return c < 0x80; })) {
        for (auto& c : text) c = c >= u'A' && c <= u'Z' ? static_cast<char16_t>(c - u'A' + u'a') : unmirrored(c);
        return text;
    }
    UErrorCode error = U_ZERO_ERROR;
    const auto* const folding = icu::Normalizer2::getNFKCCasefoldInstance(error);
    const auto* const taking = icu::Normalizer2::getNFDInstance(error);
    if (U_FAILURE(error)) return text;
    const icu::UnicodeString given(false, text.data(), static_cast<int32_t>(text.size()));
    const auto made = taking->normalize(folding->normalize(given, error), error);
    std::u16string all(made.getBuffer(), static_cast<std::size_t>(made.length()));
    for (auto& c : all) c = unmirrored(c);
    return all;
}

std::u16string unitsOf(std::string_view text) {
    const auto units = icu::UnicodeString::fromUTF8({text.data(), static_cast<int32_t>(text.size())});
    return {units.getBuffer(), static_cast<std::size_t>(units.length())};
}

}   // namespace

std::u16string comparable(std::u16string text) {
    text = folded(std::move(text));
    std::erase_if(text, isAnyBlank);
    return text;
}

std::u16string comparable(std::string_view text) { return comparable(unitsOf(text)); }

std::u16string comparableWithBlanks(std::string_view text) {
    auto all = folded(unitsOf(text));
    std::ranges::replace_if(all, isAnyBlank, u' ');
    return all;
}

}   // namespace ostrel::pdf
