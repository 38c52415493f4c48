#pragma once

#include "pdf/fonts/FontTexts.h"
#include "pdf/fonts/GlyphUse.h"
#include "pdf/text/PageText.h"

#include <string>

#include <qpdf/QPDF.hh>

namespace ostrel::pdf {

// Emoji of several characters (families, flags, skins) are drawn as one glyph, for which the engine tells no text or a
// number of its own. Gives them the text of the page, if its emoji are drawn one for one in the page's order; else all
// stays as it is. Returns why it did; empty if there was nothing to name or all was named.
std::string nameEmoji(QPDF& file, FontTexts& texts, const PageText& page, const GlyphUse& use);

}   // namespace ostrel::pdf
