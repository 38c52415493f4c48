#pragma once

#include "pdf/fonts/GlyphUse.h"

#include <qpdf/QPDF.hh>

namespace ostrel::pdf {

// Makes every font say what its glyphs mean in the characters that people type (see asTyped), so that a search finds
// them. What the pages show stays as it is; tables that are not understood too.
void makeTextTyped(QPDF& file);

// Gives fonts that agree about what their codes mean, or have none in common, one table for all.
void shareTextTables(QPDF& file, const GlyphUse& use);

}   // namespace ostrel::pdf
