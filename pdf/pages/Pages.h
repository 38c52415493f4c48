#pragma once

#include "pdf/Finisher.h"

#include <cstddef>

#include <qpdf/QPDF.hh>

namespace ostrel::pdf {

// Brings every page onto options' paper: what stood in the top left corner stays there, everything else moves by the
// scale. Then puts the links on. Answers how many were put.
std::size_t layOutPages(QPDF& file, const FinishOptions& options);

// The address as a PDF stores it: ASCII, everything else percent-encoded. Empty unless it is http, https or mailto.
std::string linkTarget(std::string_view url);

}   // namespace ostrel::pdf
