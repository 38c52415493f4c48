#include "render/pdf/ToUnicode.h"

#include <gtest/gtest.h>

namespace ostrel {
namespace {

using Texts = std::optional<pdf::CodeTexts>;

TEST(ToUnicode, ReadsPlainListsAndNothingElse) {
    const struct {
        const char* why;
        std::string cmap;
        Texts texts;
    } rows[] = {
        {"single codes and ranges",
         "1 begincodespacerange\n<00> <FF>\nendcodespacerange\n1 beginbfchar\n<41> <D83DDE00>\nendbfchar\n"
         "1 beginbfrange\n<50> <52> <00FD>\nendbfrange\n",
         {{{0x41, "D83DDE00"}, {0x50, "00FD"}, {0x51, "00FE"}, {0x52, "00FF"}}}},
        {"nothing in it", "endcmap\n", pdf::CodeTexts{}},
        {"codes of two bytes", "1 begincodespacerange\n<0000> <FFFF>\nendcodespacerange\n", std::nullopt},
        {"a range that counts past its last byte", "1 beginbfrange\n<50> <51> <00FF>\nendbfrange\n", std::nullopt},
        {"a range with a list", "1 beginbfrange\n<50> <51> [<0041> <0042>]\nendbfrange\n", std::nullopt},
        {"a range that runs backwards", "1 beginbfrange\n<51> <50> <0041>\nendbfrange\n", std::nullopt},
        {"half a UTF-16 unit", "1 beginbfchar\n<41> <00>\nendbfchar\n", std::nullopt},
        {"a code without its text", "1 beginbfchar\n<41>\nendbfchar\n", std::nullopt},
        {"cut off", "1 beginbfchar\n<41> <00", std::nullopt},
        {"more is said elsewhere", "/Other usecmap\n", std::nullopt},
    };
    for (const auto& row : rows) EXPECT_EQ(pdf::parseToUnicode(row.cmap), row.texts) << row.why;
}

TEST(ToUnicode, WhatIsMadeReadsBackTheSame) {
    pdf::CodeTexts all;
    for (int code = 0; code < 256; ++code) all[code] = code % 2 ? "4E00" : "0066FB01";
    for (const auto& texts : {pdf::CodeTexts{}, pdf::CodeTexts{{0, "0041"}}, all})
        EXPECT_EQ(pdf::parseToUnicode(pdf::makeToUnicode(texts)), texts);
}

}   // namespace
}   // namespace ostrel
