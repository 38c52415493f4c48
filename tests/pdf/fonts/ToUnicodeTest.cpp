#include "pdf/fonts/ToUnicode.h"
#include "pdf/fonts/TypedText.h"

#include <gtest/gtest.h>

namespace ostrel::pdf {
namespace {

using pdf::CodeTexts;
using pdf::ToUnicode;

TEST(ToUnicode, ReadsPlainListsAndNothingElse) {
    const struct {
        const char* why;
        std::string cmap;
        std::optional<ToUnicode> map;
    } rows[] = {
        {"single codes and ranges",
         "1 begincodespacerange\n<00> <FF>\nendcodespacerange\n1 beginbfchar\n<41> <D83DDE00>\nendbfchar\n"
         "1 beginbfrange\n<50> <52> <00FD>\nendbfrange\n",
         ToUnicode{1, {{0x41, u"😀"}, {0x50, u"ý"}, {0x51, u"þ"}, {0x52, u"ÿ"}}}},
        {"nothing in it", "endcmap\n", ToUnicode{}},
        {"codes of two bytes",
         "1 begincodespacerange\n<0000> <FFFF>\nendcodespacerange\n1 beginbfrange\n<1041> <1042> <0041>\nendbfrange\n",
         ToUnicode{2, {{0x1041, u"A"}, {0x1042, u"B"}}}},
        {"codes of another length than they say", "1 beginbfchar\n<0041> <0041>\nendbfchar\n", std::nullopt},
        {"a range that counts past its last byte", "1 beginbfrange\n<50> <51> <00FF>\nendbfrange\n", std::nullopt},
        {"a range with a list", "1 beginbfrange\n<50> <51> [<0041> <0042>]\nendbfrange\n", std::nullopt},
        {"a range that runs backwards", "1 beginbfrange\n<51> <50> <0041>\nendbfrange\n", std::nullopt},
        {"half a UTF-16 unit", "1 beginbfchar\n<41> <00>\nendbfchar\n", std::nullopt},
        {"a code without its text", "1 beginbfchar\n<41>\nendbfchar\n", std::nullopt},
        {"all on one line", "1 beginbfchar <41> <0041> endbfchar\n", std::nullopt},
        {"longer codes after shorter ones",
         "1 beginbfchar\n<41> <0041>\nendbfchar\n1 begincodespacerange\n<0000> <FFFF>\nendcodespacerange\n",
         std::nullopt},
        {"cut off", "1 beginbfchar\n<41> <00", std::nullopt},
        {"more is said elsewhere", "/Other usecmap\n", std::nullopt},
    };
    for (const auto& row : rows) EXPECT_EQ(pdf::parseToUnicode(row.cmap), row.map) << row.why;
}

TEST(ToUnicode, WhatIsMadeReadsBackTheSame) {
    CodeTexts all;
    for (int code = 0; code < 256; ++code) all[code] = code % 2 ? u"一" : u"fﬁ😀";
    for (const auto& map : {ToUnicode{}, ToUnicode{1, {{0, u"A"}}}, ToUnicode{1, all}, ToUnicode{2, all}})
        EXPECT_EQ(pdf::parseToUnicode(pdf::makeToUnicode(map)), map);
}

TEST(ToUnicode, LookAlikesBecomeWhatPeopleType) {
    const struct {
        const char* why;
        std::u16string given, typed;
    } rows[] = {
        {"ideographs, not the radicals that look like them", u"\u2F47\u2F00\u2ED1", u"日一長"},
        {"Arabic letters, not their forms", u"\uFEDF\uFE94", u"لة"},
        {"an Arabic ligature, which would be turned round", u"\uFEFB", u"\uFEFB"},
        {"a vowel sign alone", u"\uFE76", u"\u064E"},
        {"a Latin ligature", u"o\uFB03ce", u"office"},
        {"Hebrew with its point, the same", u"\uFB2A", u"\uFB2A"},
        {"a radical that is nothing else", u"\u2E80", u"\u2E80"},
        {"full width, superscripts and fractions are typed so", u"Ａ²½™", u"Ａ²½™"},
        {"half a pair", u"\xD83D", u"\xD83D"},
        {"emoji", u"🎉", u"🎉"},
    };
    for (const auto& row : rows) EXPECT_EQ(pdf::asTyped(row.given), row.typed) << row.why;

    ToUnicode map{2, {{3, u"A"}, {4, u"\u2F47"}}};
    EXPECT_TRUE(pdf::makeTyped(map));
    EXPECT_EQ(map, (ToUnicode{2, {{3, u"A"}, {4, u"日"}}}));
    EXPECT_FALSE(pdf::makeTyped(map));
}

}   // namespace
}   // namespace ostrel::pdf
