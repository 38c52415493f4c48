#include "pdf/tags/Alignment.h"

#include <gtest/gtest.h>

namespace ostrel::pdf {
namespace {

constexpr int generated = -1, again = -2, blank = -3;

std::vector<int> numbersOf(const std::vector<Alignment>& found) {
    std::vector<int> numbers;
    for (const auto& each : found) {
        const auto kind = each.kind;
        numbers.push_back(kind == Alignment::Kind::piece       ? static_cast<int>(each.listed)
                          : kind == Alignment::Kind::generated ? generated
                          : kind == Alignment::Kind::again     ? again
                                                               : blank);
    }
    return numbers;
}

TEST(Alignment, FindsTheTextThatEachPieceIsOf) {
    struct Shown {
        std::u16string text;
        double baseline = 0, left = 0;
    };
    const struct {
        const char* why;
        std::vector<std::string_view> listed;
        std::vector<Shown> shown;
        std::vector<int> expected;
    } rows[] = {
        {"lines of two paragraphs",
         {"one two three", "four five"},
         {{u"one two "}, {u"three"}, {u"four"}, {u"five"}},
         {0, 0, 1, 1}},
        {"a text that is not shown, and half of one",
         {"Hidden words", "Shown words", "End"},
         {{u"Shown"}, {u"End"}},
         {1, 2}},
        {"what floats is painted first",
         {"before", "floating", "after"},
         {{u"floating"}, {u"before"}, {u"after"}},
         {1, 0, 2}},
        {"a text cut by another one, as cells are by sheets",
         {"left cell goes on", "right cell goes on"},
         {{u"left cell"}, {u"right cell"}, {u"goes on"}, {u"goes on"}},
         {0, 1, 1, 0}},
        {"the same text several times",
         {"More", "a", "More", "b", "More"},
         {{u"More"}, {u"a"}, {u"More"}, {u"b"}, {u"More"}},
         {0, 1, 2, 3, 4}},
        {"case and forms of characters", {"Straße ﬁn Ⅳ"}, {{u"STRASSE"}, {u"fin"}, {u"IV"}}, {0, 0, 0}},
        {"accents of their own", {"Café"}, {{u"Cafe\u0301"}}, {0}},
        {"a hyphen where a word breaks", {"hyphenation"}, {{u"hyphen-"}, {u"ation"}}, {0, 0}},
        {"a glyph that nobody knows", {"a☃b"}, {{u"a\uFFFDb"}}, {0}},
        {"numbers of items, which no text begins with",
         {"first", "second"},
         {{u"1."}, {u"first"}, {u"2."}, {u"second"}},
         {generated, 0, generated, 1}},
        {"a short text does not begin a far one",
         {"first", "x", "y", "1. January"},
         {{u"1."}, {u"first"}},
         {generated, 0}},
        {"a shadow, and the same word twice in a row",
         {"ha ha", "ho"},
         {{u"ha", 5, 5}, {u"ha", 6, 6}, {u"ha", 5, 40}, {u"ho", 5, 60}},
         {0, again, 0, 1}},
        {"nothing but blanks", {"a", " ", "b"}, {{u"a"}, {u" \u00A0"}, {u"b"}}, {0, blank, 2}},
        {"a line from right to left, painted from left to right",
         {"שלום ABC (עולם)"},
         {{u"(\u05DD\u05DC\u05D5\u05E2("}, {u"ABC"}, {u"\u05DD\u05D5\u05DC\u05E9"}},
         {0, 0, 0}},
        {"a vowel sign drawn before its letter", {"हिन्दी"}, {{u"\u093F\u0939\u0928\u094D\u0926\u0940"}}, {0}},
        {"more than was listed", {"one"}, {{u"one"}, {u"one", 50}}, {0, generated}},
        {"nothing listed", {}, {{u"one"}}, {generated}},
    };
    for (const auto& row : rows) {
        std::vector<ShownText> shown;
        for (const auto& [text, baseline, left] : row.shown)
            shown.push_back({text, 0, baseline, left > 0 ? left : 100.0 * static_cast<double>(shown.size())});
        EXPECT_EQ(numbersOf(align(row.listed, shown)), row.expected) << row.why;
    }
}

}   // namespace
}   // namespace ostrel::pdf
