#pragma once

#include "pdf/content/Contents.h"
#include "pdf/fonts/GlyphUse.h"

#include <map>
#include <string>
#include <vector>

#include <qpdf/QPDF.hh>

namespace ostrel::pdf {

using Outlines = std::map<QPDFObjGen, std::string>;   // of glyphs, by their streams, as shorterOutline() gives them

// The engine draws glyphs of fonts that it cannot embed (CJK above all) as Type 3 fonts (ISO 32000-1 §9.6.5), one for
// each 256 glyphs of the typeface, most of them with one or two glyphs in use. Makes one font of those of one typeface,
// with the glyphs in use only, and lets the contents show that one. False, and nothing done, where it
// cannot tell that text, sizes and pixels stay the same.
bool joinDrawnFonts(QPDF& file, std::vector<Content>& contents, GlyphUse& use, const Outlines& outlines);

}   // namespace ostrel::pdf
