#pragma once

#include "pdf/tags/PageListing.h"
#include "pdf/tags/Structure.h"

#include <string>
#include <vector>

namespace ostrel::pdf {

struct ListedStructure {
    Structure structure;
    std::string whyNone;   // "text that the document does not have"; empty if there is a structure
};

// Finds what the pages show in the document's listing and makes its elements those of the pages: everything that is
// read is in one of them, in the document's order. What is listed and not shown is left out, as are elements with
// nothing in them other than cells. Headings leave no level out, and a table whose cells overlap is none. Nothing but
// linear loops and a bounded search for each text and picture, whatever the listing says.
ListedStructure listedStructure(const PageListing& listing, const std::vector<PaintedPage>& pages);

}   // namespace ostrel::pdf
