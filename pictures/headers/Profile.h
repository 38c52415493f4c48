#pragma once

#include <string_view>

namespace ostrel::pictures {

// Whether an ICC profile is whole, of a kind that a picture may have, and for colours of this space: "GRAY", "RGB " or
// "CMYK" (ICC.1:2010 §7.2). Others are to be taken for none, as the engine does.
bool isProfileFor(std::string_view space, std::string_view profile);

// That of the web, told by its name, under which everybody has the same: no profile says as much.
bool isSRGB(std::string_view profile);

}   // namespace ostrel::pictures
