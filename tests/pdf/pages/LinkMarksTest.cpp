#include "pdf/Finisher.h"
#include "tests/pdf/SamplePDF.h"

#include <gtest/gtest.h>

namespace ostrel::pdf {
namespace {

using test::OpenedPDF;
using test::ref;
using test::SamplePDF;

// Paint of a mark: colour 0x336699, or 0x33CC00 for the second link; /F is faint, /O is not.
const std::string first = ".2 .4 .6 RG .2 .4 .6 rg\n", second = ".2 .8 0 rg\n",
                  states = "/ExtGState << /F << /ca .0039 >> /O << /ca 1 >> /X << /ca .00196 >> >>";

std::string withSingleBlanks(const std::string& text) {
    std::string words;
    for (const char c : text + ' ')
        if (c != ' ' && c != '\n')
            words += c;
        else if (!words.empty() && words.back() != ' ')
            words += ' ';
    return words;
}

struct Outcome {
    std::vector<std::string> links;   // "rectangle address"
    std::string content;
};

Outcome finish(const std::string& content, const std::string& form = "") {
    SamplePDF pdf;
    const auto drawn = pdf.stream(
        "<< /Subtype /Form /BBox [0 0 99 99] /Matrix [2 0 0 2 0 0] /Resources << " + states + " >> >>", form);
    pdf.page(content, "<< " + states + " /XObject << /Form " + ref(drawn) + " >> >>", 595, 842);
    const auto made = Finisher().finish(Printed::open(Bytes(pdf.bytes())),
                                        {.linkMarks = {{0x336699, "http://one"},
                                                       {0x33CC00, "http://two"},
                                                       {0x00FF00, "http://left", PartOfBox{0, 0, .5, 1, 2}},
                                                       {0x00FF00, "http://foot", PartOfBox{0, .5, 1, .5, 2}}}});
    OpenedPDF finished(made.pdf);
    Outcome outcome{{}, finished.content(0)};
    auto annotations = finished.page(0).getKey("/Annots");
    for (int i = 0; annotations.isArray() && i < annotations.getArrayNItems(); ++i) {
        auto link = annotations.getArrayItem(i);
        outcome.links.push_back(link.getKey("/Rect").unparse() + " " +
                                link.getKey("/A").getKey("/URI").getStringValue());
    }
    return outcome;
}

TEST(LinkMarks, BecomeAreasAndLeaveTheContent) {
    const struct {
        std::string why, content;
        std::vector<std::string> links;
        std::string left;
    } rows[] = {
        {"moved and cut",
         "q 10 0 0 10 100 100 cm 0 0 4 2 re W n\n" + first + "/F gs 1 1 9 9 re f Q",
         {"[ 110 110 140 120 ] http://one"},
         "q 10 0 0 10 100 100 cm 0 0 4 2 re W n\n\n/F gs  Q"},
        {"pieces of a line are one, the next line is another",
         first + "/F gs 10 100 20 9 re f 30 100 20 9 re f 10 80 5 9 re f",
         {"[ 10 100 50 109 ] http://one", "[ 10 80 15 89 ] http://one"},
         "\n/F gs   "},
        {"two links side by side stay two",
         first + "/F gs 10 100 20 9 re f " + second + "30 100 20 9 re f",
         {"[ 10 100 30 109 ] http://one", "[ 30 100 50 109 ] http://two"},
         "\n/F gs  \n"},
        {"parts of a box",
         "0 1 0 rg /F gs 10 100 100 50 re 11 101 98 48 re f*",
         {"[ 10 100 60 150 ] http://left", "[ 10 100 110 125 ] http://foot"},
         "\n/F gs "},
        {"parts of a box in another shape", "0 1 0 rg /F gs 10 100 100 80 re f", {}, "\n/F gs "},
        {"parts of a box in two", "0 1 0 rg /F gs 10 100 100 50 re f 10 300 100 50 re f", {}, "\n/F gs  "},
        {"any outline", first + "/F gs 10 100 m 30 105 l 20 120 l h f*", {"[ 10 100 30 120 ] http://one"}, "\n/F gs "},
        {"fainter, as part of something faint",
         first + "/X gs 10 100 20 9 re f",
         {"[ 10 100 30 109 ] http://one"},
         "\n/X gs "},
        {"an edge of what is on another page", first + "/F gs 0 841.5 9 20 re f", {}, "\n/F gs "},
        {"paint of the mail in the same colour",
         first + "/O gs 10 100 20 9 re f",
         {},
         first + "/O gs 10 100 20 9 re f"},
        {"text in it keeps its colour",
         first + "/F gs 10 100 20 9 re f (text) Tj",
         {"[ 10 100 30 109 ] http://one"},
         first + "/F gs  (text) Tj"},
        {"a colour within a path",
         "/F gs 1 2 m .2 .4 .6 rg 3 4 l 5 6 l f q 9 9 9 9 re W n Q BT (x) Tj ET",
         {},
         "/F gs 1 2 m .2 .4 .6 rg 3 4 l 5 6 l f q 9 9 9 9 re W n Q BT (x) Tj ET"},
        {"a saved state within a path",
         first + "/F gs 10 100 20 9 re q 0 0 1 rg f Q 10 80 5 9 re f",
         {"[ 10 80 15 89 ] http://one"},
         first + "/F gs 10 100 20 9 re q 0 0 1 rg f Q "},
        {"a graphics state that is not there",
         first + "/F gs /Lost gs 10 100 20 9 re f",
         {},
         first + "/F gs /Lost gs 10 100 20 9 re f"},
        {"a path that also clips", first + "/F gs 10 100 20 9 re W f", {}, first + "/F gs 10 100 20 9 re W f"},
        {"brackets that do not match", first + "/F gs 10 100 20 9 re f Q", {}, first + "/F gs 10 100 20 9 re f Q"},
        {"an inline picture", first + "/F gs 10 100 20 9 re f BI ID EI", {}, first + "/F gs 10 100 20 9 re f BI ID EI"},
        {"a string that does not end", first + "/F gs 10 100 20 9 re f (", {}, first + "/F gs 10 100 20 9 re f ("},
        {"a nan of a colour", "1e999 -5 .6 rg /F gs 10 100 20 9 re f", {}, "1e999 -5 .6 rg /F gs 10 100 20 9 re f"},
    };
    for (const auto& row : rows) {
        const auto outcome = finish(row.content);
        EXPECT_EQ(outcome.links, row.links) << row.why;
        EXPECT_EQ(withSingleBlanks(outcome.content), withSingleBlanks(row.left)) << row.why;
    }
}

TEST(LinkMarks, AreFoundWhereverTheirFormIsDrawn) {
    const auto outcome =
        finish("/Form Do q 1 0 0 1 100 0 cm 0 0 12 99 re W n /Form Do Q", first + "/F gs 5 5 10 10 re f");
    EXPECT_EQ(outcome.links, (std::vector<std::string>{"[ 10 10 30 30 ] http://one", "[ 110 10 112 30 ] http://one"}));
    EXPECT_EQ(finish("q 0 0 99 99 re W n /Form Do Q", first + "/F gs 5 5 10 10 re f /Form Do").links.size(), 1u)
        << "a form that draws itself";
}

}   // namespace
}   // namespace ostrel::pdf
