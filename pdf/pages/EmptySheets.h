#pragma once

#include "pdf/content/Contents.h"
#include "pdf/fonts/FontTexts.h"

#include <cstddef>

#include <qpdf/QPDF.hh>

namespace ostrel::pdf {

// Takes the sheets off the end of the file that show nothing but background: blank lines, white on paper, rectangles
// of one colour across the sheet. What cannot be followed, has an annotation, or is referred to from elsewhere stays,
// and so does the first sheet. Returns the number taken off. Linear in the content of the sheets read.
std::size_t takeOffEmptySheets(QPDF& file, Contents& contents, FontTexts& texts);

}   // namespace ostrel::pdf
