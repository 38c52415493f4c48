#pragma once

#include "pdf/content/Contents.h"
#include "pdf/pages/Links.h"

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include <qpdf/QPDF.hh>

namespace ostrel::pdf {

// The paper that every page ends up on, in points, and final size over printed size.
struct PageLayout {
    double width = 595, height = 842;
    double scale = 1;
};

struct PlacedLinks {
    std::size_t count = 0;
    std::vector<std::vector<std::optional<std::size_t>>> elements;   // by page and annotation, LinkArea::element
};

// Brings every page onto its paper: what stood in the top left corner stays there, everything else moves by the scale.
// Then puts the links on. files: by LinkArea::attachment, the path of the file from the folder of the PDF; a link to
// one that has none is dropped.
PlacedLinks layOutPages(QPDF& file, Contents& contents, const PageLayout& layout, const std::vector<LinkArea>& links,
                        std::span<const std::string> files);

}   // namespace ostrel::pdf
