#pragma once

#include "pdf/Links.h"

#include <vector>

#include <qpdf/QPDF.hh>

namespace ostrel::pdf {

// Takes the marks out of the file, which then shows what an unmarked print shows, and answers where they stood: pieces
// of one link that touch on a line are one area. When the content cannot be followed nothing is changed and no area
// found. Linear in the content.
std::vector<LinkArea> takeLinkMarks(QPDF& file, const std::vector<LinkMark>& marks);

}   // namespace ostrel::pdf
