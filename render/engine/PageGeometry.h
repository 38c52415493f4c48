#pragma once

#include "core/export/Paper.h"

// The printed page, in points (1/72 inch).
namespace ostrel::pageGeometry {

constexpr double verticalMargin = 40;
constexpr double horizontalMargin = 44;

// The engine lays a page out at this many CSS pixels for each printable point, and when the content is wider, shrinks
// it until the most; what is wider still it cuts off.
constexpr double layoutPixelsPerPoint = 1.25;
constexpr double maxPixelsPerPoint = 2;

constexpr double printableWidth(PaperSize paper) { return paper.width - 2 * horizontalMargin; }

}   // namespace ostrel::pageGeometry
