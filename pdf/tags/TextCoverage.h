#pragma once

#include "pdf/tags/PageListing.h"

#include <cstddef>
#include <string_view>
#include <vector>

namespace ostrel::pdf {

struct PaintedPage;

// What became of a document's words, in letters and digits.
struct TextCoverage {
    std::size_t said = 0;      // by the document
    std::size_t missing = 0;   // on its pages
    bool operator==(const TextCoverage&) const = default;
};

// Compares what the listing says, or else the text (UTF-8), with what the pages show. Each letter counts for itself,
// wherever it stands: what is missing is at least so much, however lines are broken, reordered and divided. Linear.
TextCoverage textCoverage(const PageListing& listing, std::string_view text, const std::vector<PaintedPage>& pages);

}   // namespace ostrel::pdf
