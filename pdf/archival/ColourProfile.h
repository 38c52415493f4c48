#pragma once

#include <string>

namespace ostrel::pdf {

// Returns the sRGB colour space (IEC 61966-2-1) as an ICC profile of version 4 (ICC.1:2010), some 500 bytes.
std::string sRGBProfile();

}   // namespace ostrel::pdf
