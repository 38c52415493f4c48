#include "pdf/fonts/GlyphOutline.h"

#include <optional>
#include <string>

#include <gtest/gtest.h>

namespace ostrel::pdf {
namespace {

TEST(GlyphOutline, LosesOnlyWhatFillingCloses) {
    const struct {
        const char *why, *glyph;
        std::optional<std::string> shorter;
    } rows[] = {
        {"closed by the filling", "9 0 0 0 9 9 d1\n0 0 m\n9 0 l\n1 2 3 4 5 6 c\n0 0 l\nh\n1 1 m\n2 2 l\n3 1 l\nh\nf",
         "9 0 0 0 9 9 d1 0 0 m 9 0 l 1 2 3 4 5 6 c 1 1 m 2 2 l 3 1 l f"},
        {"rectangles, begun along either side",
         "9 0 0 0 9 9 d1 1 2 m 5 2 l 5 9 l 1 9 l 1 2 l h 1 2 m 1 -7 l -3 -7 l -3 2 l f",
         "9 0 0 0 9 9 d1 1 2 4 7 re 1 -7 -4 9 re f"},
        {"aslant, or not in whole numbers", "9 0 0 0 9 9 d1 1 2 m 5 3 l 5 9 l 1 9 l h 0 0 m .5 0 l .5 2 l 0 2 l h f",
         "9 0 0 0 9 9 d1 1 2 m 5 3 l 5 9 l 1 9 l 0 0 m .5 0 l .5 2 l 0 2 l f"},
        {"four sides only: viewers look at how it is closed", "9 0 0 0 9 9 d1\n1 2 m\n5 3 l\n5 9 l\n1 9 l\n1 2 l\nh\nf",
         "9 0 0 0 9 9 d1 1 2 m 5 3 l 5 9 l 1 9 l 1 2 l h f"},
        {"a rectangle already", "9 0 0 0 9 9 d1\n1 2 3 4 re\nf", "9 0 0 0 9 9 d1 1 2 3 4 re f"},
        {"a blank", "9 0 0 0 0 0 d1\n", "9 0 0 0 0 0 d1"},
        {"goes on from where the closed part began", "9 0 0 0 9 9 d1 0 0 m 9 0 l 9 9 l h 5 5 l 6 6 l 7 8 l f", {}},
        {"begins nowhere", "9 0 0 0 9 9 d1 9 0 l 9 9 l 0 0 l 1 1 l 2 2 l 3 3 l f", {}},
        {"drawn as a line", "9 0 0 0 9 9 d1 0 0 m 9 0 l 0 9 l h S", {}},
        {"filled, then drawn", "9 0 0 0 9 9 d1 0 0 m 9 0 l h f 0 0 m 9 0 l h S", {}},
        {"filled twice", "9 0 0 0 9 9 d1 0 0 m 9 0 l h f 0 0 m 9 0 l h f", {}},
        {"in a colour of its own", "9 0 d0 1 0 0 rg 0 0 m 9 0 l h f", {}},
        {"moved", "9 0 0 0 9 9 d1 2 0 0 2 0 0 cm 0 0 m 9 0 l h f", {}},
        {"too few numbers", "9 0 0 0 9 9 d1 0 m 9 0 l h f", {}},
        {"a picture", "9 0 0 0 9 9 d1 /X Do", {}},
        {"a page", "0 0 9 9 re f", {}},
        {"cut short", "9 0 0 0 9 9 d1 0 0 m 9 0 l h", {}},
        {"nothing", "", {}},
    };
    for (const auto& row : rows) EXPECT_EQ(pdf::shorterOutline(row.glyph), row.shorter) << row.why;
}

TEST(GlyphOutline, TurnsHeightsOver) {
    EXPECT_EQ(pdf::upsideDown("9 0 1 -8 9 3 d1 0 -1 m 5 +2 l 1 .0 3 -.4 5 6 c 1 2 3 -4 re f"),
              "9 0 1 8 9 -3 d1 0 1 m 5 -2 l 1 .0 3 .4 5 -6 c 1 -2 3 4 re f");
}

}   // namespace
}   // namespace ostrel::pdf
