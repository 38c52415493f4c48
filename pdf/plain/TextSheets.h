#pragma once

#include <span>
#include <string>
#include <string_view>

namespace ostrel::pdf {

// A part of what stands on the sheets: UTF-8, each line a paragraph. In a row a tab stands before the value.
struct SheetText {
    enum class Kind { title, row, note, body };
    Kind kind = Kind::body;
    std::string_view text;
};

struct SheetSize {   // in points
    double width = 595, height = 842;
    double verticalMargin = 40, horizontalMargin = 44;
};

// Sets text on sheets without any web engine, in a file as the engine would print it, to be finished like those. Takes
// time and memory in proportion to the text, whatever it consists of: long lines are broken after a thousand
// characters, and of many empty lines in a row a sheet's worth is kept. What no usable font has is drawn as a sign for
// unknown characters that still reads as what it is. Any number of threads. Throws Error.
std::string textSheets(std::span<const SheetText> parts, const SheetSize& size);

}   // namespace ostrel::pdf
