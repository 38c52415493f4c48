#pragma once

#include "platform/Bytes.h"

#include <optional>

namespace ostrel::pdf {

// How many points the engine made of one CSS pixel on the first page of the file it printed; nothing when the file does
// not tell.
std::optional<double> printedScale(ByteView printed);

}   // namespace ostrel::pdf
