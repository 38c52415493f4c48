#include "fonts/EastAsianText.h"

#include "platform/Releaser.h"

#include <algorithm>

#include <unicode/ucnv.h>

namespace ostrel::fonts {
namespace {

struct Bytes {
    int first, last;
};

// A character set in which two bytes make a character, and the first of them its row.
struct CharacterSet {
    Writing writing;
    const char* name;   // of ICU's converter
    Bytes everyday, further;
    std::array<Bytes, 2> seconds;
};
constexpr Bytes none{1, 0}, upper{0xA1, 0xFE};
constexpr std::array sets{
    CharacterSet{Writing::japanese, "EUC-JP", {0xA1, 0xCF}, {0xD0, 0xF4}, {upper, none}},
    CharacterSet{Writing::simplifiedChinese, "GB2312", {0xA1, 0xD7}, {0xD8, 0xF7}, {upper, none}},
    CharacterSet{Writing::traditionalChinese, "Big5", {0xA1, 0xC6}, none, {Bytes{0x40, 0x7E}, upper}},
    CharacterSet{Writing::korean, "EUC-KR", {0xA1, 0xC8}, none, {upper, none}},
};

Characters charactersOf(const CharacterSet& set, Bytes rows) {
    Characters characters;
    UErrorCode error = U_ZERO_ERROR;
    const std::unique_ptr<UConverter, Releaser<ucnv_close>> converter(ucnv_open(set.name, &error));
    for (int row = rows.first; row <= rows.last; ++row)
        for (const auto& [first, last] : set.seconds)
            for (int second = first; second <= last; ++second) {
                const std::array bytes{static_cast<char>(row), static_cast<char>(second)};
                std::array<UChar, 4> text{};
                error = U_ZERO_ERROR;
                const int length =
                    ucnv_toUChars(converter.get(), text.data(), text.size(), bytes.data(), bytes.size(), &error);
                const bool isAssigned = U_SUCCESS(error) && length == 1 && text[0] != 0xFFFD && text[0] > 0xA0;
                if (isAssigned) characters.insert(text[0]);
            }
    return characters;
}

// Latin letters; kana, brackets and what stands for words (U+3300 and others); letters of half and whole width.
constexpr std::array common{Range{0x20, 0xFF}, Range{0x3000, 0x33FF}, Range{0xFE30, 0xFE4F}, Range{0xFF00, 0xFFEF}};

}   // namespace

std::vector<Characters> portionsOf(const std::vector<Writing>& kinds) {
    std::vector<Characters> portions;
    auto rest = charactersIn(common);   // go into the first
    for (const auto level : {&CharacterSet::everyday, &CharacterSet::further})
        for (const Writing writing : kinds) {
            const auto& set = *std::ranges::find(sets, writing, &CharacterSet::writing);
            auto portion = charactersOf(set, set.*level);
            portion.merge(rest);
            for (const auto& earlier : portions)
                std::erase_if(portion, [&](char32_t character) { return earlier.contains(character); });
            if (!portion.empty()) portions.push_back(std::move(portion));
        }
    return portions;
}

}   // namespace ostrel::fonts
