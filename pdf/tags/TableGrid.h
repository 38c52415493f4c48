#pragma once

#include <cstddef>
#include <optional>
#include <vector>

namespace ostrel::pdf {

// A cell as the document has it; spans of at least 1.
struct TableCell {
    std::size_t rows = 1, columns = 1;
};

struct TableGrid {
    std::vector<std::vector<std::size_t>> rowSpans;   // by row and cell, none beyond the last row
    std::vector<std::size_t> missing;                 // by row, the empty cells that it lacks at its end
};

// Sets cells by row the way HTML does. nullopt if cells overlap, which no program can read out, or the grid is larger
// than any that people read.
std::optional<TableGrid> layOutGrid(const std::vector<std::vector<TableCell>>& rows);

}   // namespace ostrel::pdf
