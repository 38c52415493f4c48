#pragma once

#include <qpdf/QPDF.hh>

namespace ostrel::pdf {

// Lets everything that pages draw with (fonts, pictures, graphics states, glyphs) and that is there twice, word for
// word, be there once. Pages themselves stay apart even where they look the same.
void shareTwins(QPDF& file);

}   // namespace ostrel::pdf
