#pragma once

#include "pdf/content/Contents.h"

#include <cstddef>
#include <map>
#include <optional>
#include <vector>

namespace ostrel::pdf {

// A stretch of a page's content that paints something.
struct Painted {
    enum class Kind {
        text,      // one text object, or a form that shows text
        drawing,   // anything else
    };
    Kind kind = Kind::drawing;
    std::size_t begin = 0, end = 0;     // in the content, whole operations
    std::optional<double> baseline{};   // of a text object, above the page's lower edge; nullopt: not one line
};

// Cuts pages into what they paint, in the order painted. Linear in the content, but for forms that are drawn often,
// which are read once.
class PaintedContent {
public:
    explicit PaintedContent(Contents& contents) : contents_(contents) {}

    // nullopt if the content cannot be followed, or has marks of its own that structure it.
    std::optional<std::vector<Painted>> of(Content& page);

private:
    class Reader;
    bool showsText(QPDFObjectHandle form, int depth);

    Contents& contents_;
    std::map<QPDFObjGen, bool> forms_;   // whether they show text
    bool isBroken_ = false;              // a form
};

}   // namespace ostrel::pdf
