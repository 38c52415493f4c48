#pragma once

#include "pdf/content/Contents.h"
#include "pdf/fonts/FontTexts.h"
#include "pdf/fonts/GlyphUse.h"

#include <array>
#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <string_view>
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
    // Of a text object, the operation that shows a blank after it, and where that may stand. Empty: its font has none.
    std::string_view blank{};
    std::size_t textEnd = 0;
};

// Cuts pages into what they paint, in the order painted. Linear in the content, but for forms that are drawn often,
// which are read once. What pages paint is valid as long as this.
class PaintedContent {
public:
    PaintedContent(Contents& contents, FontTexts& texts, const GlyphUse& use)
        : contents_(contents), texts_(texts), use_(use) {}

    // nullopt if the content cannot be followed, or has marks of its own that structure it.
    std::optional<std::vector<Painted>> of(Content& page);

private:
    class Reader;
    // Of a form: nullopt if nothing in it is read.
    std::optional<std::u16string> textOf(QPDFObjectHandle form, int depth);
    std::string_view blankOf(QPDFObjGen font, const ToUnicode* texts);

    Contents& contents_;
    FontTexts& texts_;
    const GlyphUse& use_;
    std::map<QPDFObjGen, std::optional<std::u16string>> forms_;
    std::map<QPDFObjGen, std::string> blanks_;   // by font, Painted::blank
    bool isBroken_ = false;                      // a form
};

}   // namespace ostrel::pdf
