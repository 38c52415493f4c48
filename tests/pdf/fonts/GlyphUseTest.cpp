#include "pdf/fonts/GlyphUse.h"
#include "tests/pdf/SamplePDF.h"

#include <algorithm>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace ostrel::pdf {
namespace {

TEST(GlyphUse, TellsWhatIsShownOrSaysThatItCannot) {
    test::SamplePDF pdf;
    auto font = pdf.object("<< /Type /Font /Subtype /Type0 >>");
    auto simple = pdf.object("<< /Type /Font /Subtype /Type1 >>");
    auto resources = QPDFObjectHandle::parse("<< /ExtGState << /Plain << /ca 1 >> /Font << /Font [null 9] >> >> >>");
    auto fonts = QPDFObjectHandle::newDictionary();
    fonts.replaceKey("/F", font);
    fonts.replaceKey("/S", simple);
    resources.replaceKey("/Font", fonts);

    const std::vector<int> unknown{-1};
    const struct {
        const char* why;
        std::string content;
        std::vector<int> codes;   // unknown: use cannot be told
    } rows[] = {
        {"hex strings, blanks inside, any case", "/F 12 Tf <0041 00e1 00E1> Tj", {0x41, 0xE1}},
        {"a hex digit left over stands for its upper half", "/F 12 Tf <00410> Tj", unknown},
        {"an odd last digit that still makes whole codes", "/F 12 Tf <00410042004> Tj", {0x40, 0x41, 0x42}},
        {"literal strings with nesting and every escape",
         "/F 12 Tf (\\000A\\0(\\)(\\tx) )x) Tj",
         {0x41, 0x28, 0x2928, 0x978, 0x2920, 0x2978}},
        {"an escaped line end is nothing, a bare one is a line feed", "/F 12 Tf (\\\r\n\\1\r) Tj", {0x10A}},
        {"arrays, both quote operators", "/F 1 Tf [<0001> -20 <0002>] TJ <0003> ' 1 2 <0004> \"", {1, 2, 3, 4}},
        {"a string that no operator shows", "/F 1 Tf <0001> pop <0002> Tj", {2}},
        {"a comment is no content", "/F 1 Tf % <0001> Tj\n<0002> Tj", {2}},
        {"Q brings the font back", "/F 1 Tf q /S 1 Tf (any) Tj Q <0005> Tj", {5}},
        {"marked content around the text", "/P << /MCID 0 /T <0009> >> BDC /F 1 Tf <0001> Tj EMC", {1}},
        {"a simple font does not matter", "/S 1 Tf (abc) Tj", {}},
        {"no font set: the caller's of a form", "<0001> Tj", unknown},
        {"a font that the resources do not have", "/X 1 Tf <0001> Tj", unknown},
        {"more Q than q", "/F 1 Tf Q <0001> Tj", unknown},
        {"a graphics state that sets a font", "/F 1 Tf /Font gs <0001> Tj", unknown},
        {"a graphics state that is not there", "/F 1 Tf /Lost gs <0001> Tj", unknown},
        {"a graphics state that does not", "/F 1 Tf /Plain gs <0001> Tj", {1}},
        {"bytes of an inline image can look like text", "/F 1 Tf BI /W 1 ID <0001> Tj EI", unknown},
        {"cut within a string", "/F 1 Tf <0001> Tj <00", unknown},
        {"cut within a literal", "/F 1 Tf <0001> Tj (\\", unknown},
        {"stray closing brackets", "/F 1 Tf ) > ] } <0001> Tj", {1}},
    };
    for (const auto& row : rows) {
        pdf::GlyphUse use;
        use.read(row.content, resources);
        std::vector<int> codes;
        if (!use.isComplete())
            codes = unknown;
        else if (const auto found = use.codesOf().find(font.getObjGen()); found != use.codesOf().end())
            for (std::size_t code = 0; code < found->second.size(); ++code)
                if (found->second.test(code)) codes.push_back(static_cast<int>(code));
        auto expected = row.codes;
        std::sort(expected.begin(), expected.end());
        EXPECT_EQ(codes, expected) << row.why << ": " << row.content;
    }
}

TEST(GlyphUse, TextWithoutResourcesIsNotTold) {
    pdf::GlyphUse use;
    use.read("/F 1 Tf <0001> Tj", QPDFObjectHandle::newNull());
    EXPECT_FALSE(use.isComplete());
}

}   // namespace
}   // namespace ostrel::pdf
