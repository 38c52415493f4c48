#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include <qpdf/QPDF.hh>

namespace ostrel::pdf {

// A heading that the pages show.
struct Heading {
    std::string text{};   // UTF-8, in one line
    int level = 1;
    std::size_t page = 0;
    double top = 0;   // of its line, in points above the page's lower edge
    bool operator==(const Heading&) const = default;
};

// Writes the headings, in their order, as the file's outline (ISO 32000-1 §12.3.3), if they help to find something:
// three of them, or two in more than two sheets.
void writeOutline(QPDF& file, const std::vector<Heading>& headings);

}   // namespace ostrel::pdf
