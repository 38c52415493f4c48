#pragma once

#include "platform/PropertyList.h"

#include <string_view>

// The two formats of PropertyList. Inside platform/ only. Both take time and memory in proportion to the input and do
// not recurse, whatever the nesting.
namespace ostrel::propertyList {

// "bplist00". Reads the top-level dictionary and what it refers to directly, so a list that refers to itself is
// harmless.
std::optional<PropertyList> parseBinary(std::string_view bytes);
// XML, with or without its prolog and the plist element. A document type may be named but not defined inside.
std::optional<PropertyList> parseXML(std::string_view xml);

}   // namespace ostrel::propertyList
