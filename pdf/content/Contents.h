#pragma once

#include <vector>

#include <qpdf/QPDF.hh>

namespace ostrel::pdf {

// A stream of drawing operators (ISO 32000-1 §7.8.2) and the dictionary its names are looked up in.
struct Content {
    QPDFObjectHandle stream;
    QPDFObjectHandle resources;   // null when the stream has none of its own
};

// All of them: pages, forms, tiling patterns, glyphs of Type 3 fonts. A page's several streams are joined to one.
std::vector<Content> contentsOf(QPDF& file);

}   // namespace ostrel::pdf
