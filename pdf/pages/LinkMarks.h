#pragma once

#include "pdf/content/Contents.h"
#include "pdf/pages/Links.h"

#include <string>
#include <vector>

#include <qpdf/QPDF.hh>

namespace ostrel::pdf {

struct TakenMarks {
    std::vector<LinkArea> links;
    std::string whyNone;   // content that could not be followed; empty if it could
};

// Takes the marks out of the file, which then shows what an unmarked print shows, and returns where they were: pieces
// of one link that touch on a line are one area. If content cannot be followed, nothing is changed. Linear in the
// content.
TakenMarks takeLinkMarks(QPDF& file, Contents& contents, const std::vector<LinkMark>& marks);

}   // namespace ostrel::pdf
