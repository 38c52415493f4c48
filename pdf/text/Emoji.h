#pragma once

#include "pdf/fonts/GlyphUse.h"
#include "pdf/text/PageText.h"

#include <qpdf/QPDF.hh>

namespace ostrel::pdf {

// Emoji of several characters (families, flags, skins) are drawn as one glyph, of which the engine tells no text or a
// number of its own. They get the text of the page, when its emoji are drawn one for one in the page's order; else all
// stays as it is.
void nameEmoji(QPDF& file, const PageText& page, const GlyphUse& use);

}   // namespace ostrel::pdf
