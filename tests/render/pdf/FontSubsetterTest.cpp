#include "render/pdf/Deflate.h"
#include "render/pdf/FontSubsetter.h"
#include "tests/render/pdf/SamplePdf.h"

#include <gtest/gtest.h>

namespace ostrel {
namespace {

pdf::CodeSet glyphs(std::initializer_list<std::size_t> numbers) {
    pdf::CodeSet set;
    for (const auto number : numbers) set.set(number);
    return set;
}

TEST(FontSubsetter, SameAnswerWhateverItRemembers) {
    const auto font = test::systemFont();
    if (!font) GTEST_SKIP() << "no TrueType font where one is expected";
    const auto packed = zlib::deflate(*font, zlib::Effort::quick);
    FontSubsetter fresh, used;
    used.subset(packed, font->size(), glyphs({40, 41, 42, 60}));
    const auto first = fresh.subset(packed, font->size(), glyphs({36, 37}));
    const auto later = used.subset(packed, 0, glyphs({36, 37}));   // a size that says nothing costs time only
    ASSERT_TRUE(first && later);
    EXPECT_EQ(first->packed, later->packed);
    EXPECT_LT(first->packed.size(), packed.size() / 20);
    EXPECT_EQ(zlib::inflate(first->packed, 0, 1 << 20)->size(), first->unpackedSize);
}

TEST(FontSubsetter, LeavesWhatIsNoFontAlone) {
    const auto font = test::systemFont().value_or("");
    const auto pack = [](std::string_view text) { return zlib::deflate(text, zlib::Effort::quick); };
    const struct {
        const char* why;
        std::string packed;
    } rows[] = {
        {"nothing at all", ""},
        {"no zlib stream", "OTTO but not packed"},
        {"a zlib stream of nothing", pack("")},
        {"text", pack("The quick brown fox")},
        {"only a table directory", pack(font.substr(0, 300))},
        {"not all of its tables", pack(font.substr(0, 2000))},
        {"a stream cut short", pack(font).substr(0, 5000)},
    };
    for (const auto& row : rows) EXPECT_FALSE(FontSubsetter().subset(row.packed, 100, glyphs({1, 2, 3}))) << row.why;
}

}   // namespace
}   // namespace ostrel
