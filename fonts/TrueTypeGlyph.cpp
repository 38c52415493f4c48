#include "fonts/TrueTypeGlyph.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

namespace ostrel::fonts {
namespace {

using Cubic = std::array<Place, 4>;
using Controls = std::vector<Place>;   // of quadratic curves that meet halfway between them

constexpr std::size_t maxCurves = 16;   // for one cubic curve; far more than a letter's need

// ---- Distance

bool isWithin(double distance, Place place) { return std::norm(place) <= distance * distance; }

// True if a curve stays within a distance of the origin. The curve is the difference of two others.
bool staysWithin(double distance, const Cubic& curve, int depth = 0) {
    const auto& [start, c1, c2, end] = curve;
    if (isWithin(distance, c1) && isWithin(distance, c2)) return true;   // and the ends, as the caller knows
    constexpr int deepest = 8;                                           // as good as touching the limit
    const Place middle = (start + 3.0 * (c1 + c2) + end) / 8.0;
    if (!isWithin(distance, middle) || depth == deepest) return false;
    const Place slope = (end + c2 - c1 - start) / 8.0;
    return staysWithin(distance, {start, (start + c1) / 2.0, middle - slope, middle}, depth + 1) &&
           staysWithin(distance, {middle, middle + slope, (c2 + end) / 2.0, end}, depth + 1);
}

// How far the quadratic curve is from the cubic one, seen as a cubic curve.
Cubic difference(Place start, Place control, Place end, const Cubic& cubic) {
    return {start - cubic[0], start + (control - start) * (2.0 / 3.0) - cubic[1],
            end + (control - end) * (2.0 / 3.0) - cubic[2], end - cubic[3]};
}

// ---- One curve for another

double dot(Place a, Place b) { return a.real() * b.real() + a.imag() * b.imag(); }

// Where the tangents at both ends cross.
std::optional<Place> crossing(const Cubic& cubic) {
    const Place normal = (cubic[1] - cubic[0]) * Place(0, 1);
    const Place last = cubic[3] - cubic[2];
    const double across = dot(normal, last);
    if (across == 0) return std::nullopt;
    return cubic[2] + last * (dot(normal, cubic[0] - cubic[2]) / across);
}

// The part between two times, by the values and slopes there.
Cubic part(const Cubic& cubic, double from, double to) {
    const Place c = 3.0 * (cubic[1] - cubic[0]), b = 3.0 * (cubic[2] - cubic[1]) - c, a = cubic[3] - cubic[0] - c - b;
    const auto value = [&](double t) { return ((a * t + b) * t + c) * t + cubic[0]; };
    const auto third = [&](double t) { return ((3.0 * a * t + 2.0 * b) * t + c) * ((to - from) / 3.0); };
    const Place start = value(from), end = value(to);
    return {start, start + third(from), end - third(to), end};
}

// As many curves as given, of equal times; nothing when they stray too far.
std::optional<Controls> controlsOf(const Cubic& cubic, std::size_t curves, double tolerance) {
    std::vector<Cubic> parts(curves);
    Controls controls(curves);
    for (std::size_t i = 0; i < curves; ++i) {
        parts[i] = part(cubic, double(i) / double(curves), double(i + 1) / double(curves));
        const auto& [start, c1, c2, end] = parts[i];
        const Place first = start + (c1 - start) * 1.5, last = end + (c2 - end) * 1.5;
        controls[i] = first + (last - first) * (double(i) / double(curves - 1));   // keeps the tangents at both ends
    }
    Place start = cubic[0];
    for (std::size_t i = 0; i < curves; ++i) {
        const Place end = i + 1 < curves ? (controls[i] + controls[i + 1]) / 2.0 : cubic[3];
        const bool fits = isWithin(tolerance, end - parts[i][3]) &&
                          staysWithin(tolerance, difference(start, controls[i], end, parts[i]));
        if (!fits && curves < maxCurves) return std::nullopt;
        start = end;
    }
    return controls;
}

Controls controlsOf(const Cubic& cubic, double tolerance) {
    const auto single = crossing(cubic);
    if (single && staysWithin(tolerance, difference(cubic[0], *single, cubic[3], cubic))) return {*single};
    for (std::size_t curves = 2;; ++curves)
        if (auto controls = controlsOf(cubic, curves, tolerance)) return *std::move(controls);
}

// ---- The table's bytes

void append16(std::string& bytes, int number) {
    bytes += static_cast<char>(number >> 8 & 0xFF);
    bytes += static_cast<char>(number & 0xFF);
}

enum Flag : unsigned char {
    onCurve = 1,
    shortX = 2,
    shortY = 4,
    repeated = 8,
    sameOrPositiveX = 16,
    sameOrPositiveY = 32
};

// A coordinate as its distance from the one before, in as few bytes as it takes.
unsigned char appendStep(std::string& bytes, int step, Flag isShort, Flag sameOrPositive) {
    if (step == 0) return sameOrPositive;
    if (std::abs(step) > 255) {
        append16(bytes, step);
        return 0;
    }
    bytes += static_cast<char>(std::abs(step));
    return isShort | (step > 0 ? sameOrPositive : 0);
}

std::string withRepeats(const std::vector<unsigned char>& flags) {
    std::string bytes;
    for (std::size_t i = 0; i < flags.size();) {
        std::size_t end = i + 1;
        while (end < flags.size() && flags[end] == flags[i] && end - i < 256) ++end;
        const auto more = end - i - 1;
        if (more < 2) {
            bytes.append(end - i, static_cast<char>(flags[i]));
        } else {
            bytes += static_cast<char>(flags[i] | repeated);
            bytes += static_cast<char>(more);
        }
        i = end;
    }
    return bytes;
}

}   // namespace

void TrueTypeGlyph::add(Place place, bool isOnCurve) {
    constexpr double limit = 1 << 20;   // far outside what the table holds, which entry() tells, but no overflow
    const auto whole = [this, limit](double number) {
        return static_cast<int>(std::lround(std::clamp(number, -limit, limit) / grid_)) * grid_;
    };
    contour_.push_back({whole(place.real()), whole(place.imag()), isOnCurve});
}

void TrueTypeGlyph::moveTo(Place to) {
    contour_.clear();
    add(to, true);
    at_ = to;
}

void TrueTypeGlyph::lineTo(Place to) {
    add(to, true);
    at_ = to;
}

void TrueTypeGlyph::curveTo(Place control1, Place control2, Place to) {
    for (const Place control : controlsOf({at_, control1, control2, to}, grid_)) add(control, false);
    lineTo(to);
}

void TrueTypeGlyph::close() {
    if (contour_.size() > 1 && contour_.back() == contour_.front()) contour_.pop_back();
    const auto isTwice = [](const Point& a, const Point& b) { return a == b && a.isOnCurve; };
    contour_.erase(std::unique(contour_.begin(), contour_.end(), isTwice), contour_.end());
    if (contour_.size() > 2) {
        // PostScript fills to the left of an outline, TrueType to the right.
        points_.insert(points_.end(), contour_.rbegin(), contour_.rend());
        contourEnds_.push_back(points_.size() - 1);
    }
    contour_.clear();
}

TrueTypeGlyph::Box TrueTypeGlyph::box() const {
    if (points_.empty()) return {};
    const auto [left, right] = std::ranges::minmax(points_, {}, &Point::x);
    const auto [bottom, top] = std::ranges::minmax(points_, {}, &Point::y);
    return {left.x, bottom.y, right.x, top.y};
}

int TrueTypeGlyph::left() const { return box().left; }

std::optional<std::string> TrueTypeGlyph::entry() const {
    if (points_.empty()) return std::string();
    constexpr int least = std::numeric_limits<std::int16_t>::min() / 2,
                  most = std::numeric_limits<std::int16_t>::max() / 2;
    const auto [left, bottom, right, top] = box();   // half the range, so that steps fit too
    if (left < least || bottom < least || right > most || top > most || points_.size() > 0xFFFF) return std::nullopt;

    std::string bytes, xs, ys;
    for (const int number : {static_cast<int>(contourEnds_.size()), left, bottom, right, top}) append16(bytes, number);
    for (const std::size_t end : contourEnds_) append16(bytes, static_cast<int>(end));
    append16(bytes, 0);   // bytes of instructions
    std::vector<unsigned char> flags;
    int x = 0, y = 0;
    for (const auto& point : points_) {
        const int inX = appendStep(xs, point.x - x, shortX, sameOrPositiveX),
                  inY = appendStep(ys, point.y - y, shortY, sameOrPositiveY);
        flags.push_back(static_cast<unsigned char>(inX | inY | (point.isOnCurve ? onCurve : 0)));
        x = point.x;
        y = point.y;
    }
    bytes += withRepeats(flags) + xs + ys;
    if (bytes.size() % 2) bytes += '\0';
    return bytes;
}

}   // namespace ostrel::fonts
