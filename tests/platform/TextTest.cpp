#include "platform/Text.h"

#include <optional>

#include <gtest/gtest.h>

namespace ostrel::text {
namespace {

using namespace std::string_literals;

struct UTF8Row {
    const char* why;
    std::string bytes;
    std::string repaired;   // equal to bytes: valid
};
const UTF8Row utf8Rows[] = {
    {"nothing", "", ""},
    {"first and last code points of each length",
     "\x01\x7F\xC2\x80\xDF\xBF\xE0\xA0\x80\xEF\xBF\xBF\xF0\x90\x80\x80\xF4\x8F\xBF\xBF",
     "\x01\x7F\xC2\x80\xDF\xBF\xE0\xA0\x80\xEF\xBF\xBF\xF0\x90\x80\x80\xF4\x8F\xBF\xBF"},
    {"NUL is a character", "a\0b"s, "a\0b"s},
    {"around the surrogates", "\xED\x9F\xBF\xEE\x80\x80", "\xED\x9F\xBF\xEE\x80\x80"},
    {"a surrogate is three errors", "\xED\xA0\x80", "\uFFFD\uFFFD\uFFFD"},
    {"overlong slash", "\xC0\xAF", "\uFFFD\uFFFD"},
    {"overlong in three bytes", "\xE0\x80\xAF", "\uFFFD\uFFFD\uFFFD"},
    {"past U+10FFFF", "\xF4\x90\x80\x80", "\uFFFD\uFFFD\uFFFD\uFFFD"},
    {"lone continuation after eight plain bytes", "12345678\x80", "12345678\uFFFD"},
    {"bad byte inside the second group of eight",
     "12345678abc\xFF"
     "efgh",
     "12345678abc\uFFFDefgh"},
    {"cut short at the end: one mark", "a\xE2\x82", "a\uFFFD"},
    {"cut short before a letter", "\xF0\x9F\x98z", "\uFFFDz"},
    {"cut short before a whole character", "\xE2\x82\xC3\xA9", "\uFFFD\u00E9"},
};

TEST(Text, tellsAndRepairsInvalidUTF8) {
    for (const auto& row : utf8Rows) {
        EXPECT_EQ(isValidUTF8(row.bytes), row.bytes == row.repaired) << row.why;
        EXPECT_EQ(toValidUTF8(row.bytes), row.repaired) << row.why;
    }
}

TEST(Text, decodesTheSameCharactersFromBothEnds) {
    for (const auto& row : utf8Rows) {
        std::vector<char32_t> forward, backward;
        for (std::size_t i = 0; i < row.bytes.size();) {
            const Decoded d = decodeAt(row.bytes, i);
            forward.push_back(d.codePoint);
            i += d.length;
        }
        for (std::size_t end = row.bytes.size(); end > 0;) {
            const Decoded d = decodeBefore(row.bytes, end);
            backward.insert(backward.begin(), d.codePoint);
            end -= d.length;
        }
        EXPECT_EQ(forward, backward) << row.why;
        if (row.bytes != row.repaired) continue;
        std::string again;
        for (const char32_t c : forward) append(again, c);
        EXPECT_EQ(again, row.bytes) << row.why;
    }
}

TEST(Text, appendsNoInvalidCharacter) {
    std::string out;
    append(out, 0xD800);
    append(out, 0x110000);
    EXPECT_EQ(out, "\uFFFD\uFFFD");
}

TEST(Text, trimsWhatEachClassHolds) {
    const struct {
        const char* why;
        std::string_view text, blanks, blanksAndNewlines;
    } rows[] = {
        {"blank and tab", " \tx\t ", "x", "x"},
        {"line breaks are no blanks", "\r\n x \n", "\r\n x \n", "x"},
        {"space separators of Unicode", "\u00A0\u3000x\u2003", "x", "x"},
        {"next line and separators", "\u0085\u2028x\u2029", "\u0085\u2028x\u2029", "x"},
        {"vertical tab and form feed", "\v\fx", "\v\fx", "x"},
        {"zero-width space is no space", "\u200Bx", "\u200Bx", "\u200Bx"},
        {"nothing but blanks", " \u00A0 ", "", ""},
        {"a bad byte is a character", " \xA0 ", "\xA0", "\xA0"},
        {"inner blanks stay", " a b ", "a b", "a b"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(trimBlanks(row.text), row.blanks) << row.why;
        EXPECT_EQ(trimBlanksAndNewlines(row.text), row.blanksAndNewlines) << row.why;
    }
    EXPECT_EQ(trimASCII("\"'a\"b'", "\"'"), "a\"b");
    EXPECT_EQ(trimASCII("...", "."), "");
}

TEST(Text, classifiesForRegularExpressions) {
    const struct {
        const char* why;
        char32_t c;
        bool isSpace, isWord;
    } rows[] = {
        {"vertical tab", '\v', true, false},
        {"no-break space", 0xA0, true, false},
        {"next line", 0x85, true, false},
        {"Mongolian vowel separator", 0x180E, false, false},
        {"zero-width space", 0x200B, false, false},
        {"underscore", '_', false, true},
        {"hyphen", '-', false, false},
        {"letter above U+FFFF", 0x10400, false, true},
        {"Arabic digit", 0x0663, false, true},
        {"vulgar fraction is a number", 0xBD, false, true},
        {"combining accent is no letter", 0x301, false, false},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(isWhiteSpace(row.c), row.isSpace) << row.why;
        EXPECT_EQ(isWordCharacter(row.c), row.isWord) << row.why;
    }
}

TEST(Text, lowersFullyAndFoldsSimply) {
    const struct {
        const char* why;
        std::string_view text, lowered, folded;
    } rows[] = {
        {"plain", "ReSumE-42 [", "resume-42 [", "resume-42 ["},
        {"accents keep", "RÉSUMÉ", "résumé", "résumé"},
        {"final sigma when lowered, one sigma when folded", "ΟΔΟΣ ς", "οδος ς", "οδοσ σ"},
        {"final sigma looks behind punctuation and ASCII", "aΣ'", "aς'", "aσ'"},
        {"Kelvin sign and long s match k and s", "\u212A\u017F", "k\u017F", "ks"},
        {"dotted capital I", "İ", "i\u0307", "İ"},
        {"sharp s stays one letter", "Straße ẞ", "straße ß", "straße ß"},
        {"folding may grow: two bytes become three", "Ⱥ", "ⱥ", "ⱥ"},
        {"above U+FFFF", "\U00010400", "\U00010428", "\U00010428"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(lower(row.text), row.lowered) << row.why;
        EXPECT_EQ(foldCase(row.text), row.folded) << row.why;
    }
    EXPECT_EQ(lowerASCII("CHARSET=\"ÀB\""), "charset=\"Àb\"") << "only A to Z";
}

TEST(Text, foldsForSearchAsPeopleType) {
    const struct {
        const char* why;
        std::string_view text, folded;
    } rows[] = {
        {"plain", "Re: Invoice 42", "re: invoice 42"},
        {"accents, composed or not", "Café cafe\u0301", "cafe cafe"},
        {"letters without decomposition", "Ærøskøbing Łódź Đorđe ISTANBUL ıstanbul",
         "aeroskobing lodz dorde istanbul istanbul"},
        {"sharp s and its capital", "Straße STRAẞE", "strasse strasse"},
        {"ligature and full width", "ﬁne ＡＢＣ", "fine abc"},
        {"curled quotes and dashes", "don’t “a–b”", "don't \"a-b\""},
        {"white space of every kind makes one blank", "a \t\u00A0\r\n b\u2003", "a b "},
        {"what nobody sees", "in\u00ADvoice\u200B\uFEFF", "invoice"},
        {"Arabic without harakat", "مُحَمَّد", "محمد"},
        {"vowel signs make other words", "กี กู कि कु", "กี กู कि कु"},
        {"ideographs stay", "請求書", "請求書"},
        {"a bad byte",
         "a\xFF"
         "b",
         "a\uFFFD"
         "b"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(foldForSearch(row.text), row.folded) << row.why;
        EXPECT_EQ(foldForSearch(row.folded), row.folded) << row.why << ": folded twice";
    }
    EXPECT_EQ(foldForSearch("한국"), foldForSearch("\u1112\u1161\u11AB\u1100\u116E\u11A8"))
        << "syllables and their letters";
}

TEST(Text, countsGraphemeClusters) {
    using Lengths = std::vector<std::size_t>;
    const struct {
        const char* why;
        std::string_view text;
        Lengths lengths;
    } rows[] = {
        {"nothing", "", {}},
        {"CR LF is one", "a\r\n\n", {1, 2, 1}},
        {"CR LF is one beside other letters too", "é\r\n", {2, 2}},
        {"letter and accent", "e\u0301x", {3, 1}},
        {"family of four code points and joiners", "👨‍👩‍👧‍👦!", {25, 1}},
        {"two flags of two letters each", "🇩🇪🇫🇷", {8, 8}},
        {"Hangul letters of one syllable", "\u1112\u1161\u11AB", {9}},
        {"accent without a letter", "\u0301", {2}},
    };
    for (const auto& row : rows) EXPECT_EQ(graphemeLengths(row.text), row.lengths) << row.why;
    std::size_t sum = 0;
    for (const std::size_t length : graphemeLengths("a\xFF\xE2\x82z")) sum += length;
    EXPECT_EQ(sum, 5u) << "bad bytes are counted in";
}

TEST(Text, parsesOnlyWholeIntegers) {
    const struct {
        const char* why;
        std::string_view text;
        std::optional<long long> value;
    } rows[] = {
        {"digits", "0042", 42},
        {"signs", "+7", 7},
        {"minus", "-7", -7},
        {"largest", "9223372036854775807", 9223372036854775807},
        {"one past the largest", "9223372036854775808", {}},
        {"empty", "", {}},
        {"sign alone", "+", {}},
        {"two signs", "+-7", {}},
        {"blank", " 7", {}},
        {"trailing letter", "7a", {}},
        {"digits that are no ASCII digits", "٣", {}},
    };
    for (const auto& row : rows) {
        long long value = 0;
        const bool isInteger = parseInteger(row.text, value);
        EXPECT_EQ(isInteger ? std::optional(value) : std::nullopt, row.value) << row.why;
    }
}

}   // namespace
}   // namespace ostrel::text
