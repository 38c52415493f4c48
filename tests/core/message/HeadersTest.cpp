#include "core/message/Headers.h"

#include <gtest/gtest.h>

namespace ostrel {
namespace {

using Fields = std::vector<HeaderField>;

Headers parse(std::string_view block) { return Headers::parse(bytesOf(block)); }

TEST(HeadersTest, HeaderEndsAtTheFirstEmptyLine) {
    const struct {
        const char* why;
        std::string_view input;
        HeaderBodySplit expected;
    } rows[] = {
        {"nothing", "", {0, 0}},
        {"no header, LF", "\nbody", {0, 1}},
        {"no header, CR LF", "\r\nbody", {0, 2}},
        {"a lone CR begins a header line", "\rA: b", {5, 5}},
        {"LF", "A: b\n\nbody", {4, 6}},
        {"CR LF leaves the CR of the last line", "A: b\r\n\r\nbody", {5, 8}},
        {"LF, then CR LF", "A: b\n\r\nbody", {4, 7}},
        {"CR LF, then LF", "A: b\r\n\nbody", {5, 7}},
        {"CR LF, then a lone CR, is no empty line", "A: b\r\n\rC: d", {11, 11}},
        {"cut after the first line break", "A: b\n", {5, 5}},
        {"cut inside the empty line", "A: b\r\n\r", {7, 7}},
        {"empty line at the very end", "A: b\n\n", {4, 6}},
        {"a line of blanks is not empty", "A: b\n \nC: d\n\nbody", {11, 13}},
        {"the first of several", "A: b\n\n\n\nbody", {4, 6}},
    };
    for (const auto& row : rows) EXPECT_EQ(splitHeaderAndBody(bytesOf(row.input)), row.expected) << row.why;
}

TEST(HeadersTest, LinesBecomeFields) {
    const struct {
        const char* why;
        std::string_view input;
        Fields expected;
    } rows[] = {
        {"blanks around name and value go", "Subject \t:  a b\t\r\n", {{"Subject", "a b"}}},
        {"no blanks, more colons", "X:a:b", {{"X", "a:b"}}},
        {"duplicates keep their order", "To: a\nX: 1\nTO: b\n", {{"To", "a"}, {"X", "1"}, {"TO", "b"}}},
        {"each fold becomes one space", "Subject: a\r\n  b\r\n\tc\r\n", {{"Subject", "a b c"}}},
        {"blanks before a fold stay", "X: a \n b", {{"X", "a  b"}}},
        {"a value that begins on the second line", "X:\n  a\n  b", {{"X", "a b"}}},
        {"a fold of blanks only adds its space", "X: a\n \t\n b", {{"X", "a  b"}}},
        {"folds of blanks at the end vanish", "X: a\n \n \n", {{"X", "a"}}},
        {"empty value", "X: \n", {{"X", ""}}},
        {"other Unicode blanks are trimmed too", "X:\xC2\xA0 a\xE2\x80\x83\n", {{"X", "a"}}},
        {"a no-break space does not fold", "X: a\n\xC2\xA0Y: b", {{"X", "a"}, {"Y", "b"}}},
        {"an empty line inside does not end the field", "X: a\n\n b\n", {{"X", "a b"}}},
        {"a doubled CR is removed", "X: a\r\r\n b\r\r\n", {{"X", "a b"}}},
        {"a third CR stays", "X: a\r\r\r\nY: b", {{"X", "a\r"}, {"Y", "b"}}},
        {"the CR of a cut line goes, others stay", "X: a\rb\r", {{"X", "a\rb"}}},
        {"line of one CR is empty", "X: a\n\r\n b", {{"X", "a b"}}},
        {"fold before any field", " a\nX: b", {{"X", "b"}}},
        {"no colon ends the field, its fold goes too", "X: a\nbad line\n b\nY: c", {{"X", "a"}, {"Y", "c"}}},
        {"space in the name", "X: a\nBad Name: b\n c\nY: d", {{"X", "a"}, {"Y", "d"}}},
        {"a tab in the name is no space", "A\tB: c", {{"A\tB", "c"}}},
        {"empty name", ": a\n b", {}},
        {"blank name cannot begin a field", "\xC2\xA0: a", {}},
        {"mailbox separator line", "From kim Mon\nX: a", {{"X", "a"}}},
        {"encoded words are left alone", "X: =?utf-8?q?a?=\n =?utf-8?q?b?=", {{"X", "=?utf-8?q?a?= =?utf-8?q?b?="}}},
        {"NUL is a character", std::string_view("X\0: a\0b", 7), {{std::string("X\0", 2), std::string("a\0b", 3)}}},
    };
    for (const auto& row : rows) EXPECT_EQ(parse(row.input).fields, row.expected) << row.why;
}

TEST(HeadersTest, OtherFieldsCanBeLeftOut) {
    constexpr std::string_view names[] = {"Subject", "K-To"};
    const auto parsed = Headers::parseOnly(
        bytesOf("A: b\n c\nsUBJECT: d\n e\nTo: f\n g\n\xE2\x84\xAA-To: h\nSubject : i\n j\nbad line\n k\nSubjects: l"),
        names);
    EXPECT_EQ(parsed.fields, (Fields{{"sUBJECT", "d e"}, {"\xE2\x84\xAA-To", "h"}, {"Subject", "i j"}}))
        << "the folds of the others go with them";
    EXPECT_TRUE(Headers::parseOnly(bytesOf("Subject: a"), {}).fields.empty());
}

TEST(HeadersTest, TheBlockHasOneCharset) {
    EXPECT_EQ(parse("X: \xC3\xA9").fields, (Fields{{"X", "é"}}));
    EXPECT_EQ(parse("X: \xE9").fields, (Fields{{"X", "é"}}));
    EXPECT_EQ(parse("X: \xC3\xA9\nY: \xE9").fields, (Fields{{"X", "Ã©"}, {"Y", "é"}}))
        << "one byte that is no UTF-8 makes the whole block Windows-1252";
}

TEST(HeadersTest, NamesMatchIgnoringCase) {
    const auto headers = parse("Subject: one\nsubject: two\n\xE2\x84\xAA-\xC3\x84: =?utf-8?q?k=C3=A9?=\nI: x");
    const struct {
        const char* why;
        std::string_view name;
        std::optional<std::string_view> expected;
    } rows[] = {
        {"first of two", "SUBJECT", "one"},
        {"a prefix is another name", "Subjec", std::nullopt},
        {"a longer name is another name", "Subject2", std::nullopt},
        {"lower-casing is Unicode's: Kelvin sign", "k-\xC3\xA4", "=?utf-8?q?k=C3=A9?="},
        {"dotted capital I lower-cases to two characters", "\xC4\xB0", std::nullopt},
        {"empty", "", std::nullopt},
    };
    for (const auto& row : rows) EXPECT_EQ(headers.first(row.name), row.expected) << row.why;
    EXPECT_EQ(headers.decoded("K-\xC3\x84"), "ké");
    EXPECT_EQ(headers.decoded("none"), std::nullopt);
}

}   // namespace
}   // namespace ostrel
