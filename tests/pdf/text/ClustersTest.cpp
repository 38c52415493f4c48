#include "pdf/text/Clusters.h"
#include "tests/fonts/SampleFont.h"
#include "tests/pdf/SamplePDF.h"

#include <gtest/gtest.h>

namespace ostrel::pdf {
namespace {

// न ह ि are the glyphs 1 to 3. The engine tells texts of the first two only; the vowel sign is drawn before its letter.
std::string namedIn(const std::string& content, const std::string& text, const std::string& encoding = "/Identity-H") {
    test::SamplePDF pdf;
    const auto program = test::sampleFont({U'\u0928', U'\u0939', U'\u093f'});
    const auto font = test::compositeFont(pdf, program, {{1, u"\u0928"}, {2, u"\u0939"}});
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
        EXPECT_EQ(namedIn(row.content, "\u0939\u093f \u0928"), row.named.empty() ? row.content : row.named) << row.why;
    EXPECT_EQ(namedIn(rows[0].content, "\u0928"), rows[0].content) << "not on the page";
    EXPECT_EQ(namedIn(rows[0].content, "\u0939\u093f", "/UniJIS-UTF16-H"), rows[0].content) << "codes of other kinds";
}

}   // namespace
}   // namespace ostrel::pdf
