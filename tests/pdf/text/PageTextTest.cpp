#include "pdf/text/PageText.h"

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
        {"joiners", "\u0939\u093f\u0928\u200d\U0001f469", U"\u0939\u093f\u0928\u200d\U0001f469"},
        {"keycaps, but no other digits", "2 1\ufe0f\u20e3 3", U"1\ufe0f\u20e3 "},
    };
    for (const auto& row : rows) EXPECT_TRUE(pageText(row.text).text == row.found) << row.why;
    EXPECT_TRUE(pageText("\u05d0 \U0001f600").goesRightToLeft);
    EXPECT_FALSE(pageText("\u0939 \U0001f600").goesRightToLeft);
}

}   // namespace
}   // namespace ostrel::pdf
