#include "fonts/TrueTypeGlyph.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace ostrel::fonts {
namespace {

using Line = std::vector<Place>;

// ---- A reader of "glyf" entries, as viewers have one

struct Point {
    Place at;
    bool isOnCurve;
};

class Entry {
public:
    explicit Entry(std::string bytes) : bytes_(std::move(bytes)) {
        if (bytes_.empty()) return;
        std::vector<int> ends(static_cast<std::size_t>(next16()));
        for (int& number : box) number = next16();
        for (int& end : ends) end = next16();
        EXPECT_EQ(next16(), 0) << "no instructions";
        std::vector<unsigned> flags;
        while (flags.size() < static_cast<std::size_t>(ends.back() + 1)) {
            const unsigned flag = next8();
            flags.insert(flags.end(), flag & 8 ? next8() + 1 : 1, flag);
        }
        const auto xs = steps(flags, 2, 16), ys = steps(flags, 4, 32);
        EXPECT_LE(bytes_.size() - at_, 1U) << "but a byte to make it even";
        Place at;
        for (std::size_t i = 0; const int end : ends) {
            contours.emplace_back();
            for (; i <= static_cast<std::size_t>(end); ++i) {
                at += Place(xs[i], ys[i]);
                contours.back().push_back({at, (flags[i] & 1) != 0});
            }
        }
    }

    std::array<int, 4> box{};
    std::vector<std::vector<Point>> contours;

private:
    unsigned next8() { return static_cast<unsigned char>(bytes_.at(at_++)); }
    int next16() {
        const unsigned high = next8();
        return static_cast<std::int16_t>(high << 8 | next8());
    }
    std::vector<int> steps(const std::vector<unsigned>& flags, unsigned isShort, unsigned sameOrPositive) {
        std::vector<int> steps;
        for (const unsigned flag : flags) {
            const bool bit = flag & sameOrPositive;
            if (flag & isShort)
                steps.push_back(bit ? int(next8()) : -int(next8()));
            else
                steps.push_back(bit ? 0 : next16());
        }
        return steps;
    }

    std::string bytes_;
    std::size_t at_ = 0;
};

// The contour in small steps; between two points off the curve is one on it.
Line drawn(const std::vector<Point>& contour) {
    std::vector<Point> whole;
    for (std::size_t i = 0; i < contour.size(); ++i) {
        const auto &point = contour[i], &next = contour[(i + 1) % contour.size()];
        whole.push_back(point);
        if (!point.isOnCurve && !next.isOnCurve) whole.push_back({(point.at + next.at) / 2.0, true});
    }
    std::ranges::rotate(whole, std::ranges::find(whole, true, &Point::isOnCurve));
    whole.push_back(whole.front());
    Line line;
    for (std::size_t i = 0; i + 1 < whole.size();) {
        const bool isCurve = !whole[i + 1].isOnCurve;
        const Place a = whole[i].at, b = whole[i + 1].at, c = isCurve ? whole[i + 2].at : b;
        for (double t = 0; t < 1; t += 1.0 / 64)
            line.push_back(isCurve ? (1 - t) * (1 - t) * a + 2 * t * (1 - t) * b + t * t * c : a + t * (b - a));
        i += isCurve ? 2 : 1;
    }
    return line;
}

// ---- What was meant

struct Curve {
    Place control1, control2, to;   // a straight line when all are the same
};
struct Outline {
    Place start;
    std::vector<Curve> curves;
};

Line drawn(const Outline& outline) {
    Line line;
    Place a = outline.start;
    for (const auto& [b, c, d] : outline.curves) {
        for (double t = 0; t < 1; t += 1.0 / 256) {
            const double s = 1 - t;
            line.push_back(b == d ? s * a + t * d
                                  : s * s * s * a + 3 * s * s * t * b + 3 * s * t * t * c + t * t * t * d);
        }
        a = d;
    }
    return line;
}

double farthest(const Line& from, const Line& to) {
    double most = 0;
    for (const Place place : from) {
        double least = 1e9;
        for (const Place other : to) least = std::min(least, std::abs(place - other));
        most = std::max(most, least);
    }
    return most;
}

TEST(TrueTypeGlyph, StaysByTheCurvesItIsGiven) {
    const auto line = [](Place to) { return Curve{to, to, to}; };
    const struct {
        std::string why;
        Outline outline;
    } rows[] = {
        {"a circle",
         {{500, 0},
          {{{500, 276}, {276, 500}, {0, 500}},
           {{-276, 500}, {-500, 276}, {-500, 0}},
           {{-500, -276}, {-276, -500}, {0, -500}},
           {{276, -500}, {500, -276}, {500, 0}}}}},
        {"a bend back, whose tangents are parallel", {{0, 0}, {{{300, 0}, {100, 400}, {400, 400}}, line({0, 400})}}},
        {"a loop", {{0, 0}, {{{600, 500}, {-200, 500}, {400, 0}}, line({200, -300})}}},
        {"a cusp", {{0, 0}, {{{400, 400}, {0, 400}, {400, 0}}, line({200, -300})}}},
        {"a curve without a tangent where it begins", {{0, 0}, {{{0, 0}, {300, 10}, {400, 300}}, line({0, 300})}}},
        {"a curve without a tangent where it ends", {{0, 0}, {{{100, 300}, {400, 300}, {400, 300}}, line({0, 300})}}},
        {"a curve that is a straight line",
         {{0, 0}, {{{100, 0}, {200, 0}, {400, 0}}, line({400, 300}), line({0, 300})}}},
        {"long straight lines", {{-8000, -8000}, {line({8000, -8000}), line({8000, 8000}), line({-8000, 8000})}}},
        {"half units", {{0.5, 0.5}, {{{100.5, 0.5}, {200.5, 99.5}, {200.5, 200.5}}, line({0.5, 200.5})}}},
    };
    for (const auto& [why, outline] : rows) {
        for (const int grid : {1, 2, 8}) {
            TrueTypeGlyph glyph(grid);
            glyph.moveTo(outline.start);
            for (const auto& [control1, control2, to] : outline.curves)
                control1 == to ? glyph.lineTo(to) : glyph.curveTo(control1, control2, to);
            glyph.close();
            const auto bytes = glyph.entry();
            ASSERT_TRUE(bytes) << why;
            const Entry entry(*bytes);
            ASSERT_EQ(entry.contours.size(), 1U) << why;
            auto meant = outline;
            meant.curves.push_back(line(outline.start));
            const auto was = drawn(meant), is = drawn(entry.contours[0]);
            const double step = 0.01 * std::abs(was.front() - was[was.size() / 2]);   // between the places looked at
            const double most = grid + grid * std::sqrt(0.5) + step;
            EXPECT_LT(farthest(is, was), most) << why << " on a grid of " << grid;
            EXPECT_LT(farthest(was, is), most) << why << " on a grid of " << grid;
            EXPECT_EQ(entry.box[0], glyph.left()) << why;
            EXPECT_EQ(glyph.pointCount(), entry.contours[0].size()) << why;
        }
    }
}

TEST(TrueTypeGlyph, HasOnlyWhatCanBeFilled) {
    TrueTypeGlyph glyph(1);
    EXPECT_EQ(glyph.entry(), "") << "a space";
    glyph.moveTo({0, 0});
    glyph.lineTo({100, 0});
    glyph.close();
    EXPECT_EQ(glyph.entry(), "") << "a line";
    glyph.moveTo({0, 0});
    glyph.lineTo({100, 0});
    glyph.lineTo({100, 100});
    glyph.moveTo({0, 0});   // nobody closed that one
    glyph.lineTo({0, 50});
    glyph.lineTo({0, 50});
    glyph.lineTo({50, 0});
    glyph.lineTo({0, 0});
    glyph.close();
    EXPECT_EQ(glyph.contourCount(), 1U);
    EXPECT_EQ(glyph.pointCount(), 3U) << "each corner once";
    glyph.moveTo({0, 0});
    glyph.lineTo({40'000, 0});
    glyph.lineTo({0, 1e30});
    glyph.close();
    EXPECT_EQ(glyph.entry(), std::nullopt) << "beyond 16 bits";
}

}   // namespace
}   // namespace ostrel::fonts
