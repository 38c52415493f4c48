#include "core/message/Charset.h"
#include "core/message/EncodedWords.h"

#include <gtest/gtest.h>

namespace ostrel {
namespace {

TEST(CharsetTest, LabelsAreCleanedAndWidened) {
    const auto utf8 = TextEncoding::utf8();
    const auto windows1252 = TextEncoding::windows1252();
    const struct {
        const char* why;
        std::optional<std::string_view> label;
        std::optional<TextEncoding> expected;
    } rows[] = {
        {"absent", std::nullopt, std::nullopt},
        {"empty", "", std::nullopt},
        {"nothing but wrapping", " \"'\xC2\xA0'\"\r\n", std::nullopt},
        {"nothing before the language", "*en", std::nullopt},
        {"unknown", "no-such-charset", std::nullopt},
        {"ASCII is read as UTF-8", "US-ASCII", utf8},
        {"Latin-1 is read as Windows-1252", "LATIN1", windows1252},
        {"quotes and blanks around", " \"ISO-8859-1\" ", windows1252},
        {"line break and apostrophes around", "'utf8'\r\n", utf8},
        {"language suffix", "utf-8*de-AT", utf8},
        {"the registry knows the rest", "ISO-8859-15", TextEncoding::named("iso-8859-15")},
    };
    for (const auto& row : rows) EXPECT_EQ(Charset::encoding(row.label), row.expected) << row.why;
    EXPECT_TRUE(Charset::encoding("ISO-8859-15").has_value());
}

TEST(CharsetTest, DecodingFallsBackAsAWhole) {
    const struct {
        const char* why;
        std::string_view bytes;
        std::optional<std::string_view> label;
        std::string expected;
    } rows[] = {
        {"as labelled", "\xA4", "iso-8859-15", "€"},
        {"mislabelled as UTF-8", "\xE9t\xE9", "utf-8", "été"},
        {"unlabelled UTF-8", "\xC3\xA9", std::nullopt, "é"},
        {"unknown label", "\xC3\xA9", "x-unknown", "é"},
        {"Windows quotes under an ASCII label", "\x93x\x94", "us-ascii", "“x”"},
        {"one bad byte, no mixing", "\xC3\xA9\xE9", "utf-8", "Ã©é"},
        {"cut UTF-8", "\xE2\x82", "utf-8", "â‚"},
        {"empty", "", "utf-8", ""},
        {"byte-order mark stays", "\xEF\xBB\xBFx", "utf-8", "\xEF\xBB\xBFx"},
    };
    for (const auto& row : rows) EXPECT_EQ(Charset::decode(bytesOf(row.bytes), row.label), row.expected) << row.why;
}

TEST(EncodedWordsTest, WordsBecomeText) {
    const std::string label40(40, 'x'), label41(41, 'x');
    std::string wide40;
    for (int i = 0; i < 40; ++i) wide40 += "ä";
    const struct {
        const char* why;
        std::string input, expected;
    } rows[] = {
        {"no word: nothing changes", " a =_20 \t", " a =_20 \t"},
        {"Q", "=?utf-8?Q?a_=C3=A9?=", "a é"},
        {"B, letter case ignored", "=?UTF-8?b?w6k=?=", "é"},
        {"language suffix", "=?iso-8859-1*fr?q?=E9?=", "é"},
        {"unknown and empty labels fall back", "=?nope?q?=C3=A9?= =??q?=E9?=", "éé"},
        {"blanks between words go", "=?utf-8?q?a?= \t =?utf-8?q?b?=", "ab"},
        {"blanks around text stay", " =?utf-8?q?a?= b =?utf-8?q?c?= ", " a b c "},
        {"other white space between words stays", "=?utf-8?q?a?=\n=?utf-8?q?b?=", "a\nb"},
        {"words without blanks between", "=?utf-8?q?a?==?utf-8?q?b?=", "ab"},
        {"text and word without blanks", "x=?utf-8?q?a?=y", "xay"},
        {"a character divided between words is not joined", "=?utf-8?q?=C3?= =?utf-8?q?=A9?=", "Ã©"},
        {"spaces and question marks inside", "=?utf-8?q?a b?c?=", "a b?c"},
        {"equals sign after the opening is payload", "=?utf-8?q?=?=", "="},
        {"empty payload", "a =?utf-8?q?\?= =?utf-8?b?\?= b", "a  b"},
        {"label of 40 characters", "=?" + label40 + "?q?a?=", "a"},
        {"label of 41 characters", "=?" + label41 + "?q?a?=", "=?" + label41 + "?q?a?="},
        {"40 characters are not 40 bytes", "=?" + wide40 + "?q?a?=", "a"},
        {"other letter", "=?utf-8?x?a?=", "=?utf-8?x?a?="},
        {"two letters", "=?utf-8?qq?a?=", "=?utf-8?qq?a?="},
        {"no end", "=?utf-8?q?abc?", "=?utf-8?q?abc?"},
        {"cut after the letter", "=?utf-8?q", "=?utf-8?q"},
        {"cut after the label", "=?utf-8?", "=?utf-8?"},
        {"cut at once", "a =?", "a =?"},
        {"not ASCII inside", "=?utf-8?q?ä?=", "=?utf-8?q?ä?="},
        {"a word inside a broken one", "=?x =?utf-8?q?a?=", "=?x a"},
        {"a broken word takes the next one's end", "=?a?q?b =?utf-8?q?c?=", "b =?utf-8?q?c"},
        {"not ASCII before the end does not harm a later word", "=?a?q?ä =?utf-8?q?c?=", "=?a?q?ä c"},
        {"blanks before a broken word are text's", "=?utf-8?q?a?= =?b =?utf-8?q?c?=", "a =?b c"},
        {"decoded text is not decoded again", "=?utf-8?q?=3D=3Fa=3Fq=3Fb=3F=3D?=", "=?a?q?b?="},
    };
    for (const auto& row : rows) EXPECT_EQ(EncodedWords::decode(row.input), row.expected) << row.why;
}

}   // namespace
}   // namespace ostrel
