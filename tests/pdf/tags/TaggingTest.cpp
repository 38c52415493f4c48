#include "pdf/Finisher.h"
#include "tests/pdf/SamplePDF.h"
#include "tests/pdf/tags/TagRules.h"

#include <gtest/gtest.h>

namespace ostrel::pdf {
namespace {

using test::OpenedPDF;
using test::ref;
using test::SamplePDF;

TEST(Tagging, EveryLineIsReadAndAllElseIsAnArtifact) {
    const struct {
        const char* why;
        std::string content, expected;   // empty: no tags
    } rows[] = {
        {"a line of two fonts is one, a path before it none",
         "q 0 0 9 9 re f BT 1 0 0 1 9 9 Tm (A) Tj ET BT 1 0 0 1 20 9 Tm (B) Tj ET Q",
         "q /Artifact BMC\n0 0 9 9 re f EMC /P<</MCID 0>>BDC\nBT 1 0 0 1 9 9 Tm (A) Tj ET BT 1 0 0 1 20 9 Tm (B) Tj ET "
         "EMC Q"},
        {"lines below each other are two", "BT 1 0 0 1 9 9 Tm (A) Tj ET 1 0 0 1 0 -9 cm BT 1 0 0 1 9 9 Tm (B) Tj ET",
         "/P<</MCID 0>>BDC\nBT 1 0 0 1 9 9 Tm (A) Tj ET EMC 1 0 0 1 0 -9 cm /P<</MCID 1>>BDC\nBT 1 0 0 1 9 9 Tm (B) Tj "
         "ET EMC"},
        {"clips paint nothing, drawings join", "0 0 9 9 re W n 0 0 1 1 re f q 1 1 m 2 2 l S Q 3 3 l n",
         "0 0 9 9 re W n /Artifact BMC\n0 0 1 1 re f q 1 1 m 2 2 l S EMC Q 3 3 l n"},
        {"a form that shows text is read as one", "/Words Do /Box Do",
         "/P<</MCID 0>>BDC\n/Words Do EMC /Artifact BMC\n/Box Do EMC"},
        {"what glyphs read stays within the line", "BT /Span<</ActualText<FEFF0041>>>BDC (x) Tj EMC ET",
         "/P<</MCID 0>>BDC\nBT /Span<</ActualText<FEFF0041>>>BDC (x) Tj EMC ET EMC"},
        {"marks of another structure", "/P BMC BT (A) Tj ET EMC", ""},
        {"text outside of a text object", "(A) Tj", ""},
        {"a text object that does not end", "BT (A) Tj", ""},
        {"a mark that ends behind its text object", "BT /Span<</ActualText<FEFF0041>>>BDC (x) Tj ET EMC", ""},
    };
    for (const auto& row : rows) {
        SamplePDF pdf;
        auto words = pdf.stream("<< /Subtype /Form /BBox [0 0 9 9] >>", "BT (A) Tj ET");
        auto box = pdf.stream("<< /Subtype /Form /BBox [0 0 9 9] >>", "0 0 9 9 re f");
        pdf.page(row.content, "<< /XObject << /Words " + ref(words) + " /Box " + ref(box) + " >> >>");
        const auto made =
            Finisher().finish(Printed::open(Bytes(pdf.bytes())), {.links = {{0, 9, 9, 9, 9, "http://a"}}});
        EXPECT_EQ(made.report.isTagged, !row.expected.empty()) << row.why;
        OpenedPDF opened(made.pdf.whole());
        EXPECT_EQ(test::plainData(opened.page(0).getKey("/Contents")),
                  row.expected.empty() ? row.content : row.expected)
            << row.why;
        EXPECT_EQ(opened.file().getRoot().hasKey("/StructTreeRoot"), !row.expected.empty()) << row.why;
        EXPECT_EQ(test::brokenTagRules(made.pdf.whole()), std::vector<std::string>()) << row.why;
    }
}

TEST(Tagging, ClaimsToBeAccessibleWhereItKnowsTheDocument) {
    SamplePDF pdf;
    pdf.page("BT 1 0 0 1 9 9 Tm /F 9 Tf (\\1) Tj ET",
             "<< /Font << /F " + test::drawnFont(pdf, "Song", {{1, u"A"}}) + " >> >>");
    const auto printed = pdf.bytes();
    const struct {
        const char* why;
        std::string title, text;
        bool isAccessible;
    } rows[] = {
        {"the document's own text", "T", "a", true},
        {"another document's", "T", "b", false},
        {"no title to show", "", "a", false},
    };
    for (const auto& row : rows) {
        const PageListing listing{{.text = "Document"},
                                  {.parent = 0, .text = "H1"},
                                  {.kind = ListedNode::Kind::text, .parent = 1, .text = row.text}};
        const auto made = Finisher().finish(Printed::open(Bytes(printed)), {.title = row.title, .listing = listing});
        EXPECT_EQ(made.report.isAccessible, row.isAccessible) << row.why;
        EXPECT_TRUE(made.report.isTagged) << row.why;
        EXPECT_EQ(test::brokenTagRules(made.pdf.whole()), std::vector<std::string>()) << row.why;
        OpenedPDF opened(made.pdf.whole());
        const auto metadata = test::plainData(opened.file().getRoot().getKey("/Metadata"));
        EXPECT_EQ(metadata.find("<pdfuaid:part>1") != std::string::npos, row.isAccessible) << row.why;
    }
}

}   // namespace
}   // namespace ostrel::pdf
