#pragma once

#include "pdf/fonts/FontTexts.h"
#include "pdf/fonts/GlyphUse.h"

#include <string>

#include <qpdf/QPDF.hh>

namespace ostrel::pdf {

// Returns why the file cannot claim to be PDF/A-2u (ISO 19005-2), apart from what the finisher itself writes: "a font
// that is not embedded". Empty if it can. Knows what the engine writes and trusts nothing else; what content shows in
// which font is told by use, and texts knows a character for each (FontTexts::fillIn).
std::string whyNotArchival(QPDF& file, FontTexts& texts, const GlyphUse& use);

}   // namespace ostrel::pdf
