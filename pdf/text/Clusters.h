#pragma once

#include "pdf/text/PageText.h"

#include <qpdf/QPDF.hh>

namespace ostrel::pdf {

// In scripts that join characters to clusters the engine tells no text for glyphs that no single character has, and the
// glyphs stand in the order drawn. Shapes the words of the page with the fonts of the file (which must be whole yet),
// and where glyphs come out as they are drawn says what they read (ActualText, ISO 32000-1 §14.9.4).
void nameClusters(QPDF& file, const PageText& page);

}   // namespace ostrel::pdf
