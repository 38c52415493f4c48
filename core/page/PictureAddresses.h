#pragma once

#include "core/page/Page.h"

#include <string_view>
#include <vector>

namespace ostrel {

// What an address in a page is for. Others than pictures may be read: a text, an attribute that a style shows.
enum class AddressUse { other, image, background };   // background: or another picture of a style

// The uses of addresses, ascending. A page whose styles ask for the very text of an address, or that hides elements
// from scripts, has only others. Linear in the page.
std::vector<AddressUse> addressUses(std::string_view html, const std::vector<PagePicture::Address>& addresses);

}   // namespace ostrel
