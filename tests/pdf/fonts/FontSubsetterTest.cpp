#include "pdf/content/Deflate.h"
#include "pdf/fonts/FontSubsetter.h"
#include "tests/pdf/SamplePDF.h"

#include <gtest/gtest.h>

namespace ostrel::pdf {
namespace {

pdf::CodeSet glyphs(std::initializer_list<std::size_t> numbers) {
    pdf::CodeSet set;
    for (const auto number : numbers) set.set(number);
    return set;
}

TEST(FontSubsetter, SameAnswerWhateverItRemembers) {
    const auto font = test::systemFont();
    if (!font) GTEST_SKIP() << "no TrueType font where one is expected";
    FontSubsetter fresh, used;
    used.subset(*font, glyphs({40, 41, 42, 60}));
    const auto first = fresh.subset(*font, glyphs({36, 37}));
    const auto later = used.subset(*font, glyphs({36, 37}));
    ASSERT_TRUE(first && later);
    EXPECT_EQ(first->packed, later->packed);
    EXPECT_LT(first->packed.size(), font->size() / 40);
    EXPECT_EQ(zlib::inflate(first->packed, 0, 1 << 20)->size(), first->unpackedSize);
}

TEST(FontSubsetter, LeavesWhatIsNoFontAlone) {
    const auto font = test::systemFont().value_or("");
    const struct {
        const char* why;
        std::string program;
    } rows[] = {
        {"nothing at all", ""},
        {"text", "The quick brown fox"},
        {"nothing behind the first bytes", "OTTO"},
        {"only a table directory", font.substr(0, 300)},
        {"not all of its tables", font.substr(0, 2000)},
    };
    for (const auto& row : rows) EXPECT_FALSE(FontSubsetter().subset(row.program, glyphs({1, 2, 3}))) << row.why;
}

}   // namespace
}   // namespace ostrel::pdf
