#pragma once

#include "platform/PropertyList.h"

#include <string_view>

namespace ostrel::propertyList {

// The scalar entries of a binary property list ("bplist00"). Reads the top-level dictionary and what it refers to, and
// never goes deeper, so a list that refers to itself is harmless. Inside platform/ only.
std::optional<PropertyList> parseBinary(std::string_view bytes);

}   // namespace ostrel::propertyList
