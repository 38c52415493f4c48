#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include <qpdf/QPDF.hh>

namespace ostrel::pdf {

// An element of the document's structure (ISO 32000-1 §14.7.2), with its parts in the order in which they are read.
struct Element {
    struct Part {
        enum class Kind { element, content, annotation };
        Kind kind = Kind::element;
        std::size_t page = 0;     // of content and annotations
        std::size_t number = 0;   // of the element; the marked content's number on its page; of the page's annotation
    };
    std::string type;            // "P"
    std::string alternative{};   // text in place of a picture, UTF-8
    std::string attributes{};    // a dictionary in PDF syntax, or nothing
    std::vector<Part> parts{};
};

// Writes the elements as the file's structure tree. The first is the document, and every other one is a part of one
// that stands before it. All pages' marked content is numbered from 0 and is part of one element.
void writeElements(QPDF& file, const std::vector<Element>& elements);

}   // namespace ostrel::pdf
