#include "pdf/tags/TableGrid.h"

#include <algorithm>

namespace ostrel::pdf {

std::optional<TableGrid> layOutGrid(const std::vector<std::vector<TableCell>>& rows) {
    constexpr std::size_t maxColumns = 1000, maxPlaces = 1'000'000;   // a span takes a few bytes in the mail
    TableGrid grid;
    std::vector<std::size_t> takenUntil;   // by column, the first row that is free there
    std::vector<std::size_t> widths;
    std::size_t places = 0;
    for (std::size_t row = 0; row < rows.size(); ++row) {
        const auto isFree = [&](std::size_t column) {
            return column >= takenUntil.size() || takenUntil[column] <= row;
        };
        auto& spans = grid.rowSpans.emplace_back();
        std::size_t column = 0;
        for (const auto& cell : rows[row]) {
            while (!isFree(column)) ++column;
            const auto end = column + std::min(cell.columns, maxColumns + 1);
            spans.push_back(std::min(cell.rows, rows.size() - row));
            places += end - column;
            if (end > maxColumns || places > maxPlaces) return std::nullopt;
            if (takenUntil.size() < end) takenUntil.resize(end, 0);
            for (; column < end; ++column) {
                if (!isFree(column)) return std::nullopt;
                takenUntil[column] = row + spans.back();
            }
        }
        while (!isFree(column)) ++column;
        widths.push_back(column);
        places += column;
        if (places > maxPlaces) return std::nullopt;
    }
    const auto width = takenUntil.size();
    // What a row has free before a cell that reaches down into it, cells at the end cannot fill.
    for (std::size_t row = 0; row < rows.size(); ++row) grid.missing.push_back(width - widths[row]);
    return grid;
}

}   // namespace ostrel::pdf
