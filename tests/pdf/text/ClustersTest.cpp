#include "pdf/text/Clusters.h"
#include "tests/fonts/SampleFont.h"
#include "tests/pdf/SamplePDF.h"

#include <gtest/gtest.h>

namespace ostrel::pdf {
namespace {

struct Font {
    fonts::Characters characters;   // of its glyphs, from 1 on in their order
    CodeTexts told;
};

std::string namedIn(const std::string& content, const std::string& text, const Font& sample,
                    const std::string& encoding = "/Identity-H") {
    test::SamplePDF pdf;
    const auto font = test::compositeFont(pdf, test::sampleFont(sample.characters), sample.told);
    pdf.page(content, "<< /Font << /W " + font + " /S << /Type /Font /Subtype /Type1 >> >> >>");
    auto page = pdf.file().getAllPages().front();
    auto resources = page.getKey("/Resources").getKey("/Font");
    resources.getKey("/W").replaceKey("/Encoding", QPDFObjectHandle::newName(encoding));
    Contents contents(pdf.file());
    FontTexts texts(pdf.file());
    nameClusters(contents, texts, pageText(text));
    contents.pack();
    return test::plainData(page.getKey("/Contents"));
}

TEST(Clusters, AreToldAsTheyAreWritten) {
    // The engine tells nothing of the vowel sign, which is drawn before its letter.
    const Font font{{U'\u0928', U'\u0939', U'\u093f'}, {{1, u"\u0928"}, {2, u"\u0939"}}};
    const std::string hi = "/Span<</ActualText<FEFF0939093F>>>BDC ";
    const struct {
        std::string why, content, named;   // empty: stays
    } rows[] = {
        {"alone", "/W 9 Tf <00030002> Tj", "/W 9 Tf " + hi + "<00030002> Tj EMC"},
        {"between letters that tell themselves", "/W 9 Tf <0001000300020001> Tj",
         "/W 9 Tf <0001> Tj " + hi + "<00030002> Tj EMC <0001> Tj"},
        {"in two strings", "/W 9 Tf 0 0 Td <0003> Tj 9 0 Td <0002> Tj",
         "/W 9 Tf 0 0 Td " + hi + "<0003> Tj 9 0 Td <0002> Tj EMC"},
        {"two in a row are one", "/W 9 Tf <0003000200030002> Tj",
         "/W 9 Tf /Span<</ActualText<FEFF0939093F0939093F>>>BDC <0003000200030002> Tj EMC"},
        {"apart by what is drawn between", "/W 9 Tf <0003> Tj 0 0 9 9 re f <0002> Tj", ""},
        {"letters only", "/W 9 Tf <00010002> Tj", ""},
        {"nobody wrote it", "/W 9 Tf <00030001> Tj", ""},
        {"another font", "/S 9 Tf <00030002> Tj", ""},
        {"in a saved state", "/W 9 Tf q <00030002> Tj Q", "/W 9 Tf q " + hi + "<00030002> Tj EMC Q"},
        {"half a code", "/W 9 Tf <000300020> Tj", ""},
        {"a string that does not end", "/W 9 Tf <00030002> Tj (", ""},
    };
    for (const auto& row : rows)
        EXPECT_EQ(namedIn(row.content, "\u0939\u093f \u0928", font), row.named.empty() ? row.content : row.named)
            << row.why;
    EXPECT_EQ(namedIn(rows[0].content, "\u0928", font), rows[0].content) << "not on the page";
    EXPECT_EQ(namedIn(rows[0].content, "\u0939\u093f", font, "/UniJIS-UTF16-H"), rows[0].content)
        << "codes of other kinds";
}

TEST(Clusters, LettersWithMarksAreToldAsTheyAreWritten) {
    const Font font{{U'e', U'\u00e9', U'\u0301', U'\u0323'},
                    {{1, u"e"}, {2, u"\u00e9"}, {3, u"\u0301"}, {4, u"\u0323"}}};
    const std::string nothing = "/Span<</ActualText<FEFF>>>BDC ";
    const auto span = [](const std::string& text) { return "/Span<</ActualText<FEFF" + text + ">>>BDC "; };
    const struct {
        std::string why, text, content, named;   // empty: stays
    } rows[] = {
        {"one glyph for both", "e\u0301", "/W 9 Tf <0002> Tj", "/W 9 Tf " + span("00650301") + "<0002> Tj EMC"},
        {"a mark beyond the letter's end", "\u00e9\u0323", "/W 9 Tf <000200040001> Tj",
         "/W 9 Tf " + span("00E90323") + "<0002> Tj EMC " + nothing + "<0004> Tj EMC <0001> Tj"},
        {"set apart", "\u00e9\u0323", "/W 9 Tf <0002> Tj 2 1 Td <0004> Tj",
         "/W 9 Tf " + span("00E90323") + "<0002> Tj EMC 2 1 Td " + nothing + "<0004> Tj EMC"},
        {"composed on the same page", "e\u0301 \u00e9", "/W 9 Tf <0002> Tj", ""},
        {"a font without the mark", "e\u0302", "/W 9 Tf <0002000100000001> Tj", ""},
        {"letters alone", "e\u0301", "/W 9 Tf <00010001> Tj", ""},
    };
    for (const auto& row : rows)
        EXPECT_EQ(namedIn(row.content, row.text, font), row.named.empty() ? row.content : row.named) << row.why;
}

}   // namespace
}   // namespace ostrel::pdf
