#pragma once

#include "pdf/content/Contents.h"
#include "pdf/fonts/FontTexts.h"
#include "pdf/fonts/GlyphUse.h"

#include <string>
#include <string_view>

#include <qpdf/QPDF.hh>

namespace ostrel::pdf {

// For characters that no installed font has, and for sequences that none has as a whole, the engine draws the box of a
// font's glyph 0, which tells nothing. Where the file (whose fonts must still be whole) has as many of these as the
// page's text has such characters, says what each reads (ActualText, ISO 32000-1 §14.9.4), in the page's order; else
// all stays as it is. Returns why it did; empty if there was nothing to name or all was named.
std::string nameUndrawn(QPDF& file, Contents& contents, FontTexts& texts, std::string_view pageText,
                        const GlyphUse& use);

}   // namespace ostrel::pdf
