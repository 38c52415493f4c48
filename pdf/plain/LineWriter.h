#pragma once

#include "pdf/plain/SheetFont.h"

#include <string>
#include <string_view>

namespace ostrel::pdf {

// Writes one line of text as drawing operators (ISO 32000-1 §9.4): a text object with glyphs from left to right.
class LineWriter {
public:
    explicit LineWriter(std::string& content) : out_(content) { out_ += "BT\n"; }
    LineWriter(const LineWriter&) = delete;
    LineWriter& operator=(const LineWriter&) = delete;
    ~LineWriter();

    struct Face {
        SheetFont* font = nullptr;
        std::size_t number = 0;   // in the file
        double size = 0;          // points
        bool operator==(const Face&) const = default;
    };
    // The origin in points.
    void glyph(const Face& face, hb_codepoint_t glyph, double x, double y);
    // What the glyphs until the end of the span read together (§14.9.4).
    void beginSpan(std::u16string_view text);
    void endSpan();

private:
    void endShow();

    std::string& out_;
    Face face_;
    double x_ = 0, y_ = 0;   // where the next glyph would stand by itself
    bool isPlaced_ = false, isShowing_ = false, isInString_ = false;
};

// Adds a number of points.
void appendNumber(std::string& out, double value);

}   // namespace ostrel::pdf
