#include "pdf/text/Emoji.h"
#include "tests/pdf/SamplePDF.h"

#include <gtest/gtest.h>

namespace ostrel::pdf {
namespace {

// What is told of the font's codes after content has shown them. 3 is a pointing hand; of 1 and 2 the engine tells
// nothing and a number of the font's own.
CodeTexts told(const std::string& content, const std::string& text, const std::string& fontName) {
    test::SamplePDF pdf;
    pdf.page(content,
             "<< /Font << /E " +
                 test::drawnFont(pdf, fontName, {{1, u""}, {2, u"\U000fe000"}, {3, u"\U0001f446"}, {4, u"1"}}) +
                 " >> >>");
    auto page = pdf.file().getAllPages().front();
    GlyphUse use;
    use.read(content, page.getKey("/Resources"));
    FontTexts texts(pdf.file());
    nameEmoji(pdf.file(), texts, pageText(text), use);
    texts.store();
    auto font = page.getKey("/Resources").getKey("/Font").getKey("/E");
    return parseToUnicode(test::plainData(font.getKey("/ToUnicode"))).value().texts;
}

TEST(Emoji, OfSeveralCharactersAreToldAsThePageHasThem) {
    const CodeTexts before{{2, u"\U000fe000"}, {3, u"\U0001f446"}, {4, u"1"}};
    const auto with = [&](int code, const char16_t* text) {
        auto texts = before;
        texts[code] = text;
        return texts;
    };
    const std::string family = "\U0001f469\u200d\U0001f467", flag = "\U0001f1e9\U0001f1ea", hand = "\U0001f446";
    const std::u16string familyText = u"\U0001f469\u200d\U0001f467";
    const struct {
        std::string why, content, text;
        CodeTexts texts;
        std::string fontName = "NotoColorEmoji";
    } rows[] = {
        {"a family without a text", "/E 9 Tf <01> Tj", family, with(1, familyText.c_str())},
        {"a flag with a number of the font's", "/E 9 Tf <02> Tj", flag, with(2, u"\U0001f1e9\U0001f1ea")},
        {"beside one that tells itself", "/E 9 Tf <0301> Tj", hand + " " + family, with(1, familyText.c_str())},
        {"a digit of the same font is no picture", "/E 9 Tf <0401> Tj", "1 " + family, with(1, familyText.c_str())},
        {"a keycap", "/E 9 Tf <01> Tj", "1\ufe0f\u20e3", with(1, u"1\ufe0f\u20e3")},
        {"a tag sequence", "/E 9 Tf <01> Tj", "\U0001f3f4\U000e0067\U000e007f",
         with(1, u"\U0001f3f4\U000e0067\U000e007f")},
        {"twice the same, from right to left", "/E 9 Tf <0101> Tj", "\u05d0" + family + family,
         with(1, familyText.c_str())},
        {"different ones, from right to left", "/E 9 Tf <0102> Tj", "\u05d0" + family + flag, before},
        {"in another order than drawn", "/E 9 Tf <0301> Tj", family + hand, before},
        {"fewer than drawn", "/E 9 Tf <0101> Tj", family, before},
        {"more than drawn", "/E 9 Tf <01> Tj", family + family, before},
        {"one glyph for two texts", "/E 9 Tf <0101> Tj", family + flag, before},
        {"drawn where it cannot be told", "/E 9 Tf <01> Tj BI", family, before},
        {"a font of letters", "/E 9 Tf <01> Tj", family, before, "Song"},
        {"nothing of several characters", "/E 9 Tf <03> Tj", hand, before},
    };
    for (const auto& row : rows) EXPECT_EQ(told(row.content, row.text, row.fontName), row.texts) << row.why;
}

}   // namespace
}   // namespace ostrel::pdf
