#pragma once

#include "pdf/content/Contents.h"

#include <string>

#include <qpdf/QPDF.hh>

namespace ostrel::pdf {

// Tells programs that read aloud what to read and in which order (ISO 32000-1 §14.7, §14.8): every line is a paragraph,
// in the order painted, every link stands behind the text of its page, and everything else that is painted
// is an artifact. Returns why the file stays without; empty if it does not.
std::string tag(QPDF& file, Contents& contents);

}   // namespace ostrel::pdf
