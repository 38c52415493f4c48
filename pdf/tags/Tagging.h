#pragma once

#include "pdf/content/Contents.h"
#include "pdf/fonts/FontTexts.h"
#include "pdf/fonts/GlyphUse.h"
#include "pdf/tags/PageListing.h"
#include "pdf/tags/TextCoverage.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <qpdf/QPDF.hh>

namespace ostrel::pdf {

struct Tagged {
    enum class Kind { none, flat, listed };
    Kind kind = Kind::none;
    std::string why;                          // not listed
    std::optional<TextCoverage> coverage{};   // nullopt: the pages could not be read
};

// Tells programs that read aloud what to read, in which order and as what (ISO 32000-1 §14.7, §14.8): the document's
// own elements where the pages show what the listing has, else a flat list of lines and links. Everything else that is
// painted is an artifact. use: of the pages as they are. text: of the document, for where there is no listing. links:
// by page and annotation, LinkMark::element.
Tagged tag(QPDF& file, Contents& contents, FontTexts& texts, const GlyphUse& use, const PageListing& listing,
           std::string_view text, const std::vector<std::vector<std::optional<std::size_t>>>& links);

}   // namespace ostrel::pdf
