#pragma once

#include <complex>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace ostrel::fonts {

using Place = std::complex<double>;   // x and y in the font's units

// Takes a glyph's outline as PostScript fonts have it, with cubic curves, and makes of it what TrueType fonts have:
// quadratic curves through whole numbers (OpenType 1.9, "glyf").
class TrueTypeGlyph {
public:
    // Puts all points on a grid, in units, and no curve strays from the given one by more than a grid's width besides.
    // A wider grid makes shorter entries that pack better.
    explicit TrueTypeGlyph(int grid) : grid_(grid) {}

    void moveTo(Place to);
    void lineTo(Place to);
    void curveTo(Place control1, Place control2, Place to);
    void close();   // of the contour; one that is left open counts for nothing

    // The table's entry; empty for a glyph without contours, nothing for one that the table cannot hold.
    std::optional<std::string> entry() const;

    std::size_t pointCount() const { return points_.size(); }
    std::size_t contourCount() const { return contourEnds_.size(); }
    int left() const;   // of the box in the entry; 0 when that is empty

private:
    struct Point {
        int x, y;
        bool isOnCurve;
        bool operator==(const Point&) const = default;
    };
    struct Box {
        int left, bottom, right, top;
    };

    Box box() const;
    void add(Place place, bool isOnCurve);

    int grid_;
    Place at_;
    std::vector<Point> contour_;   // the open one
    std::vector<Point> points_;    // of all closed ones
    std::vector<std::size_t> contourEnds_;
};

}   // namespace ostrel::fonts
