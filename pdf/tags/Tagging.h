#pragma once

#include "pdf/content/Contents.h"
#include "pdf/fonts/FontTexts.h"
#include "pdf/tags/PageListing.h"

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include <qpdf/QPDF.hh>

namespace ostrel::pdf {

struct Tagged {
    enum class Kind { none, flat, listed };
    Kind kind = Kind::none;
    std::string why;   // not listed
};

// Tells programs that read aloud what to read, in which order and as what (ISO 32000-1 §14.7, §14.8): the document's
// own elements where the pages show what the listing has, else a flat list of lines and links. Everything else that is
// painted is an artifact. links: by page and annotation, LinkMark::element.
Tagged tag(QPDF& file, Contents& contents, FontTexts& texts, const PageListing& listing,
           const std::vector<std::vector<std::optional<std::size_t>>>& links);

}   // namespace ostrel::pdf
