#pragma once

#include "core/page/Page.h"

#include <string_view>
#include <vector>

namespace ostrel::html {

// Returns the pictures in the whole data: addresses of an HTML text, each different one once, ordered by its first
// address. known: pictures whose addresses need not be searched for; these do not overlap. The others are found if they
// are written in base64 (RFC 2397) without percent signs or CSS escapes.
std::vector<PagePicture> picturesOf(std::string_view html, std::vector<PagePicture> known = {});

}   // namespace ostrel::html
