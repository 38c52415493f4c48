#pragma once

#include "render/pdf/PdfGlyphUse.h"

#include <qpdf/QPDF.hh>

namespace ostrel::pdf {

// The engine draws glyphs of fonts that it cannot embed (CJK above all) as Type 3 fonts (ISO 32000-1 §9.6.5), one for
// each 256 glyphs of the typeface, most of them with one or two glyphs in use. Gives fonts whose codes do not meet one
// table of what the codes mean. The fonts stay apart: pdftotext guesses their size from their box and the names of all
// codes.
void shareTextTables(QPDF& file, const GlyphUse& use);

}   // namespace ostrel::pdf
