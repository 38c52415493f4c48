#pragma once

#include <algorithm>
#include <cstdint>
#include <limits>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include <qpdf/QPDFMatrix.hh>
#include <qpdf/QPDFObjectHandle.hh>

namespace ostrel::pdf {

struct Box {
    double left = 0, bottom = 0, right = 0, top = 0;

    static Box nothing() {
        constexpr double far = std::numeric_limits<double>::max();
        return {far, far, -far, -far};
    }
    static Box everything() { return {-1e6, -1e6, 1e6, 1e6}; }
    bool isEmpty() const { return !(left < right && bottom < top); }
    double width() const { return right - left; }
    double height() const { return top - bottom; }
    void add(double x, double y) { add(Box{x, y, x, y}); }
    void add(const Box& other) {
        left = std::min(left, other.left);
        bottom = std::min(bottom, other.bottom);
        right = std::max(right, other.right);
        top = std::max(top, other.top);
    }
    Box within(const Box& other) const {
        return {std::max(left, other.left), std::max(bottom, other.bottom), std::min(right, other.right),
                std::min(top, other.top)};
    }
    Box movedBy(const QPDFMatrix& matrix) const {
        if (isEmpty()) return *this;
        const auto moved = matrix.transformRectangle({left, bottom, right, top});
        return {moved.llx, moved.lly, moved.urx, moved.ury};
    }
};

// What a mark paints.
struct Piece {
    std::size_t link = 0;
    Box box;
};

// A form drawn by the content.
struct DrawnForm {
    QPDFObjGen form;
    QPDFMatrix matrix;   // from the form's space
    Box clip;
};

// What one content holds, in its own space.
struct Marked {
    std::vector<Piece> pieces;
    std::vector<DrawnForm> forms;
    std::vector<QPDFObjectHandle> used;        // all content that it draws with, forms included
    std::optional<std::string> withoutMarks;   // the new content; nullopt: it stays as it is
};

using LinkOfColour = std::unordered_map<std::uint32_t, std::size_t>;   // by 0xRRGGBB

// what(): why the content cannot be followed.
class UnreadableContent : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// Finds the marks in one content. resources: what its names stand for. Linear in the content. Throws UnreadableContent.
Marked readMarks(std::string_view content, QPDFObjectHandle resources, const LinkOfColour& links);

}   // namespace ostrel::pdf
