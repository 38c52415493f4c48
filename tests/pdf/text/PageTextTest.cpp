#include "pdf/text/PageText.h"

#include <string>

#include <gtest/gtest.h>

namespace ostrel::pdf {
namespace {

TEST(PageText, IsWhatTheScriptsSayInTheOrderOfTheSource) {
    const struct {
        const char* why;
        std::string html;
        std::u32string text;
    } rows[] = {
        {"plain mail", "<p>Office \u00e9 &amp; more</p>", U""},
        {"words apart", "<p>a \u0939\u093f b</p><p>\u0928</p>", U"\u0939\u093f \u0928"},
        {"through an element", "\u0939<b>\u093f</b>", U"\u0939\u093f"},
        {"references", "&#2361;&#x93F;&#X928;&zwj;&#128105;", U"\u0939\u093f\u0928\u200d\U0001f469"},
        {"references that are none", "\u0939&#;&#x;&#99999999999999;&#2361&amp;\u0939", U"\u0939 \u0939"},
        {"keycaps, but no other digits", "2 1\ufe0f\u20e3 3", U"1\ufe0f\u20e3 "},
        {"attributes and quotation marks in them", "<img alt='\u0939 > \u0939' title=\"'\u0939\">\u0928", U"\u0928"},
        {"what is not shown",
         "<TITLE>\u0939</TITLE><style>\u0939</style><!-- \u0939 > --><script>'<b>\u0939'</script>\u0928", U" \u0928"},
        {"a sign that is no tag", "1 < 2 \u0939", U"\u0939"},
        {"a tag that does not end", "\u0939<a href=\"x", U"\u0939"},
        {"a comment that does not end", "\u0939<!-- \u0928", U"\u0939"},
        {"a title that does not end", "\u0939<title>\u0928</titl", U"\u0939"},
        {"no UTF-8", "\xE0\xA4\u0939\xFF", U"\u0939 "},
    };
    for (const auto& row : rows) {
        const auto page = pdf::pageText(row.html);
        const auto first = page.text.find_first_not_of(U' ');
        const auto wanted = row.text.find_first_not_of(U' ');
        EXPECT_TRUE((first == page.text.npos ? U"" : page.text.substr(first)) ==
                    (wanted == row.text.npos ? U"" : row.text.substr(wanted)))
            << row.why;
    }
    EXPECT_TRUE(pdf::pageText("\u05d0 \U0001f600").goesRightToLeft);
    EXPECT_FALSE(pdf::pageText("\u0939 \U0001f600").goesRightToLeft);
}

}   // namespace
}   // namespace ostrel::pdf
