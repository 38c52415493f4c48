#pragma once

#include "pdf/content/Contents.h"
#include "pdf/fonts/FontTexts.h"
#include "pdf/fonts/GlyphUse.h"

#include <string>

#include <qpdf/QPDF.hh>

namespace ostrel::pdf {

// Shortens the glyphs of Type 3 fonts (ISO 32000-1 §9.6.5). The engine draws glyphs of fonts that it cannot embed (CJK
// above all) as such fonts, one for each 256 glyphs of the typeface, most of them with one or two glyphs in use: makes
// one font of those of one typeface, with the glyphs in use only, and lets the contents show that one. Joins none where
// it cannot tell that text, sizes and pixels stay the same, and returns why; empty if there was nothing to join or all
// was.
std::string joinDrawnFonts(QPDF& file, Contents& contents, FontTexts& texts, GlyphUse& use);

}   // namespace ostrel::pdf
