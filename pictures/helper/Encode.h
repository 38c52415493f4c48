#pragma once

#include "pictures/helper/Pixels.h"

#include <string>

namespace ostrel::pictures {

std::string encodePNG(const Pixels& pixels);
// Without alpha only.
std::string encodeJPEG(const Pixels& pixels);

}   // namespace ostrel::pictures
