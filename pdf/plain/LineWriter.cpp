#include "pdf/plain/LineWriter.h"

#include "pdf/content/Hex.h"

#include <array>
#include <charconv>
#include <cmath>

namespace ostrel::pdf {

void appendNumber(std::string& out, double value) {
    std::array<char, 32> digits;   // coordinates of a sheet, so enough
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), std::round(value * 100) / 100);
    out.append(digits.data(), end.ptr);
}

LineWriter::~LineWriter() {
    endShow();
    out_ += "ET\n";
}

void LineWriter::glyph(const Face& face, hb_codepoint_t glyph, double x, double y) {
    if (face_ != face) {
        endShow();
        out_ += "/F" + std::to_string(face.number) + ' ';
        appendNumber(out_, face.size);
        out_ += " Tf\n";
        face_ = face;
        isPlaced_ = false;
    }
    if (!isPlaced_ || y != y_) {
        endShow();
        out_ += "1 0 0 1 ";
        appendNumber(out_, x);
        out_ += ' ';
        appendNumber(out_, y);
        out_ += " Tm\n";
        x_ = x;
        y_ = y;
        isPlaced_ = true;
    }
    if (!isShowing_) out_ += '[';
    isShowing_ = true;
    if (const long back = std::lround((x_ - x) * 1000 / face.size); back != 0) {
        if (isInString_) out_ += '>';
        out_ += std::to_string(back);
        isInString_ = false;
        x_ -= static_cast<double>(back) * face.size / 1000;
    }
    if (!isInString_) out_ += '<';
    isInString_ = true;
    hex::append(out_, glyph, 4);
    x_ += face.font->widthOf(glyph) * face.size / 1000;
}

void LineWriter::beginSpan(std::u16string_view text) {
    endShow();
    out_ += "/Span<</ActualText<FEFF";
    hex::append(out_, text);
    out_ += ">>>BDC\n";
}

void LineWriter::endSpan() {
    endShow();
    out_ += "EMC\n";
}

void LineWriter::endShow() {
    if (isInString_) out_ += '>';
    if (isShowing_) out_ += "]TJ\n";
    isShowing_ = isInString_ = false;
}

}   // namespace ostrel::pdf
