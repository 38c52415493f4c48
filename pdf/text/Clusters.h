#pragma once

#include "pdf/content/Contents.h"
#include "pdf/fonts/FontTexts.h"
#include "pdf/text/PageText.h"

#include <cstddef>

namespace ostrel::pdf {

// In scripts that join characters to clusters, and of letters with combining marks, the engine tells no text for glyphs
// that no single character has, another text for those that a composed character has, and the glyphs are in the order
// drawn. Shapes the words and the sequences of the page with the file's fonts (which must still be whole), and where
// the same glyphs are drawn says what they read (ActualText, ISO 32000-1 §14.9.4). Returns the number of contents
// changed.
std::size_t nameClusters(Contents& contents, FontTexts& texts, const PageText& page);

}   // namespace ostrel::pdf
