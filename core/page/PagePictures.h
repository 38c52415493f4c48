#pragma once

#include "core/page/Page.h"

#include <string_view>
#include <vector>

namespace ostrel::html {

// The pictures in the data: addresses of an HTML text, each different one once, by its first address: those given, and
// the base64 ones (RFC 2397) that its sender wrote. The addresses given do not overlap and are taken as they are.
// A picture whose bytes cannot be told from its address alone (percent signs, CSS escapes) may be missing.
std::vector<PagePicture> picturesOf(std::string_view html, std::vector<PagePicture> known = {});

}   // namespace ostrel::html
