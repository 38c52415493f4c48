#include "pdf/text/PageText.h"

#include <set>
#include <string>

#include <gtest/gtest.h>

namespace ostrel::pdf {
namespace {

TEST(PageText, IsWhatTheScriptsSay) {
    const struct {
        const char* why;
        std::string text;
        std::u32string found;
    } rows[] = {
        {"plain mail", "Office \u00e9 & more", U""},
        {"words apart", "a \u0939\u093f b\n\u0928", U"\u0939\u093f \u0928"},
        {"marks of no script", "\u0939\u0301 a\u0301", U"\u0939\u0301 "},
        {"joiners", "\u0939\u093f\u0928\u200d\U0001f469", U"\u0939\u093f\u0928\u200d\U0001f469"},
        {"keycaps, but no other digits", "2 1\ufe0f\u20e3 3", U"1\ufe0f\u20e3 "},
    };
    for (const auto& row : rows) EXPECT_TRUE(pageText(row.text).text == row.found) << row.why;
    EXPECT_TRUE(pageText("\u05d0 \U0001f600").goesRightToLeft);
    EXPECT_FALSE(pageText("\u0939 \U0001f600").goesRightToLeft);
}

TEST(PageText, HasTheSequencesThatAreNotMistaken) {
    const auto many = [](std::size_t count) {
        std::string text = "a";
        while (count-- > 0) text += "\u0301";
        return text;
    };
    using Sequences = std::set<std::u32string>;
    const struct {
        const char* why;
        std::string text;
        Sequences found;
    } rows[] = {
        {"letters with marks", "i\u0307st e\u0323\u0302", {U"i\u0307", U"e\u0323\u0302"}},
        {"below what clusters have", "\u0438\u0306", {U"\u0438\u0306"}},
        {"variants and rings", "\u8fbb\U000e0100 \u01c5\u20dd", {U"\u8fbb\U000e0100", U"\u01c5\u20dd"}},
        {"syllables", "\u1100\u1161\u11a8", {U"\u1100\u1161\u11a8"}},
        {"composed as well", "e\u0301 \u00e9", {}},
        {"composed as well, first", "\u00e9e\u0301", {}},
        {"without its selector as well", "\u8fbb\U000e0100\u8fbb", {}},
        {"in two orders", "e\u0323\u0302 e\u0302\u0323", {}},
        {"composed, but with more", "e\u0301 \u00e9\u0323", {U"e\u0301", U"\u00e9\u0323"}},
        {"nothing before", "\u0301 \u0301\n\u0301", {}},
        {"scripts of their own", "\u0939\u093f \u05e9\u05c1 1\ufe0f\u20e3", {}},
        {"the longest", many(63), {U"a" + std::u32string(63, U'\u0301')}},
        {"without end", many(64), {}},
    };
    for (const auto& row : rows) EXPECT_TRUE(pageText(row.text).sequences == row.found) << row.why;
}

}   // namespace
}   // namespace ostrel::pdf
