#include "pdf/tags/Structure.h"
#include "pdf/tags/TextCoverage.h"

#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

namespace ostrel::pdf {
namespace {

TEST(TextCoverage, CountsTheLettersThatNoPageShows) {
    const struct {
        const char* why;
        std::vector<std::string> listed;   // none: there is only the text
        std::string_view text;
        std::vector<std::u16string> shown;
        TextCoverage expected;
    } rows[] = {
        {"lines broken, columns in another order, a hyphen, a number that the list adds",
         {"One two three", "Donaudampf 4"},
         "",
         {u"1.", u"Donau-", u"dampf", u"4", u"One", u"two three"},
         {22, 0}},
        {"ligatures, capitals and accents as fonts have them",
         {"Straße ﬁn é"},
         "",
         {u"STRASSE", u"fin", u"e\u0301"},
         {11, 0}},
        {"from right to left", {"שלום"}, "", {u"\u05DD\u05D5\u05DC\u05E9"}, {4, 0}},
        {"a tail", {"first words", "the last ones"}, "", {u"first words"}, {21, 11}},
        {"nothing at all", {"words"}, "", {}, {5, 5}},
        {"a glyph that nobody knows may be any letter", {"words"}, "", {u"w\uFFFDrds"}, {5, 0}},
        {"marks and blanks say nothing", {"- •\u00A0\u200C… -"}, "", {}, {0, 0}},
        {"no listing, but the text of the mail", {}, "first\tlast", {u"first"}, {9, 4}},
        {"a listing knows better than the text what is hidden", {"seen"}, "seen hidden", {u"seen"}, {4, 0}},
    };
    for (const auto& row : rows) {
        PageListing listing;
        for (const auto& text : row.listed) listing.push_back({.kind = ListedNode::Kind::text, .text = text});
        std::vector<PaintedPage> pages(2);
        for (const auto& text : row.shown) pages.back().painted.push_back({.kind = Painted::Kind::text, .text = text});
        EXPECT_EQ(textCoverage(listing, row.text, pages), row.expected)
            << row.why << ": " << textCoverage(listing, row.text, pages).said << ' '
            << textCoverage(listing, row.text, pages).missing;
    }
}

}   // namespace
}   // namespace ostrel::pdf
