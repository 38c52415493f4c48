#include "pdf/text/Undrawn.h"
#include "tests/fonts/SampleFont.h"
#include "tests/pdf/SamplePDF.h"

#include <gtest/gtest.h>

namespace ostrel::pdf {
namespace {

// The page's content afterwards. Its font has an x and a ring, the glyphs 1 and 2.
std::string namedIn(const std::string& content, const std::string& text) {
    test::SamplePDF pdf;
    const auto font = test::compositeFont(pdf, test::sampleFont({U'x', U'\u030a'}), {{1, u"x"}, {2, u"\u030a"}});
    pdf.page(content, "<< /Font << /W " + font + " >> >>");
    auto page = pdf.file().getAllPages().front();
    Contents contents(pdf.file());
    FontTexts texts(pdf.file());
    const auto use = GlyphUse::of(contents);
    nameUndrawn(pdf.file(), contents, texts, text, use);
    contents.pack();
    return test::plainData(page.getKey("/Contents"));
}

TEST(Undrawn, CharactersWithoutAGlyphAreTold) {
    const auto span = [](const std::string& text) { return "/Span<</ActualText<FEFF" + text + ">>>BDC "; };
    const struct {
        std::string why, text, content, named;   // empty: stays
    } rows[] = {
        {"a character", "x\u4e00x", "/W 9 Tf <000100000001> Tj",
         "/W 9 Tf <0001> Tj " + span("4E00") + "<0000> Tj EMC <0001> Tj"},
        {"two beside each other, and one apart", "\u4e00\u4e01 x \u4e02", "/W 9 Tf <00000000> Tj 9 0 Td <00010000> Tj",
         "/W 9 Tf " + span("4E004E01") + "<00000000> Tj EMC 9 0 Td <0001> Tj " + span("4E02") + "<0000> Tj EMC"},
        {"a sequence", "\u01c5\u20dd", "/W 9 Tf <00000000> Tj", "/W 9 Tf " + span("01C520DD") + "<00000000> Tj EMC"},
        {"of which the font has a part", "x\u20dd", "/W 9 Tf <00010000> Tj",
         "/W 9 Tf <0001> Tj " + span("20DD") + "<0000> Tj EMC"},
        {"with a selector, which shows nothing", "\u8fbb\U000e0100", "/W 9 Tf <0000> Tj",
         "/W 9 Tf " + span("8FBBDB40DD00") + "<0000> Tj EMC"},
        {"a sequence that the font has, and one it has not", "x\u030a\u4e00", "/W 9 Tf <000100020000> Tj",
         "/W 9 Tf <00010002> Tj " + span("4E00") + "<0000> Tj EMC"},
        {"the same ones from right to left", "\u05d0 \u05d0", "/W 9 Tf <00000000> Tj",
         "/W 9 Tf " + span("05D005D0") + "<00000000> Tj EMC"},
        {"different ones from right to left", "\u05d0\u05d1", "/W 9 Tf <00000000> Tj", ""},
        {"fewer than drawn", "\u4e00", "/W 9 Tf <00000000> Tj", ""},
        {"more than drawn", "\u4e00\u4e01", "/W 9 Tf <0000> Tj", ""},
        {"nothing that is seen", "x\u200b\u00ad\n", "/W 9 Tf <0000> Tj", ""},
        {"half a code", "\u4e00", "/W 9 Tf <000000000> Tj", ""},
        {"codes that are not plain", "\u4e00", "/W 9 Tf [<0000>] TJ", ""},
        {"a string that does not end", "\u4e00", "/W 9 Tf <0000> Tj (", ""},
    };
    for (const auto& row : rows)
        EXPECT_EQ(namedIn(row.content, row.text), row.named.empty() ? row.content : row.named) << row.why;
}

}   // namespace
}   // namespace ostrel::pdf
