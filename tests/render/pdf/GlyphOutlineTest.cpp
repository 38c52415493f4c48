#include "render/pdf/GlyphOutline.h"

#include <optional>
#include <string>

#include <gtest/gtest.h>

namespace ostrel {
namespace {

TEST(GlyphOutline, LosesOnlyWhatFillingCloses) {
    const struct {
        const char *why, *glyph;
        std::optional<std::string> shorter;
    } rows[] = {
        {"closed by the filling", "9 0 0 0 9 9 d1\n0 0 m\n9 0 l\n1 2 3 4 5 6 c\n0 0 l\nh\n1 1 m\n2 2 l\nh\nf",
         "9 0 0 0 9 9 d1 0 0 m 9 0 l 1 2 3 4 5 6 c 0 0 l 1 1 m 2 2 l f"},
        {"drawn as a line", "9 0 0 0 9 9 d1 0 0 m 9 0 l 0 9 l h S", {}},
        {"filled, then drawn", "9 0 0 0 9 9 d1 0 0 m 9 0 l h f 0 0 m 9 0 l h S", {}},
        {"filled twice", "9 0 0 0 9 9 d1 0 0 m 9 0 l h f 0 0 m 9 0 l h f", {}},
        {"in a colour of its own", "9 0 d0 1 0 0 rg 0 0 m 9 0 l h f", {}},
        {"moved", "9 0 0 0 9 9 d1 2 0 0 2 0 0 cm 0 0 m 9 0 l h f", {}},
        {"a picture", "9 0 0 0 9 9 d1 /X Do", {}},
        {"a page", "0 0 9 9 re f", {}},
        {"cut short", "9 0 0 0 9 9 d1 0 0 m 9 0 l h", {}},
        {"nothing", "", {}},
    };
    for (const auto& row : rows) EXPECT_EQ(pdf::shorterOutline(row.glyph), row.shorter) << row.why;
}

}   // namespace
}   // namespace ostrel
