#pragma once

#include "pdf/content/Contents.h"
#include "pdf/fonts/FontTexts.h"

#include <array>
#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace ostrel::pdf {

// A stretch of a page's content that paints something.
struct Painted {
    enum class Kind {
        text,      // one text object, or a form that shows text
        picture,   // one picture
        drawing,   // anything else
    };
    Kind kind = Kind::drawing;
    std::size_t begin = 0, end = 0;     // in the content, whole operations
    std::u16string text{};              // what is read, glyph by glyph in the order painted; of a form, all of it
    std::optional<double> baseline{};   // of a text object, above the page's lower edge; nullopt: not one line
    double left = 0;                    // of a text object with a baseline, its start, in points
    std::array<double, 4> box{};        // of a picture: left, bottom, right, top, in points
};

// Cuts pages into what they paint, in the order painted. Linear in the content, but for forms that are drawn often,
// which are read once.
class PaintedContent {
public:
    PaintedContent(Contents& contents, FontTexts& texts) : contents_(contents), texts_(texts) {}

    // nullopt if the content cannot be followed, or has marks of its own that structure it.
    std::optional<std::vector<Painted>> of(Content& page);

private:
    class Reader;
    // Of a form: nullopt if nothing in it is read.
    std::optional<std::u16string> textOf(QPDFObjectHandle form, int depth);

    Contents& contents_;
    FontTexts& texts_;
    std::map<QPDFObjGen, std::optional<std::u16string>> forms_;
    bool isBroken_ = false;   // a form
};

}   // namespace ostrel::pdf
