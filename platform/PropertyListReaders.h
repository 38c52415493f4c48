#pragma once

#include "platform/Bytes.h"
#include "platform/PropertyList.h"

#include <cstddef>
#include <optional>
#include <string_view>

// All take time and memory in proportion to the input and do not recurse, whatever the nesting.
namespace ostrel::propertyList {

// Larger lists are not read: the mail program writes a few hundred bytes.
constexpr std::size_t sizeLimitBytes = 1 << 20;

// Reads an XML or binary property list. nullopt if it cannot be read or its top level is no dictionary.
std::optional<PropertyList> parse(ByteView bytes);

// The two formats, for parse.
// "bplist00". Reads the top-level dictionary and what it refers to directly, so a list that refers to itself is
// harmless.
std::optional<PropertyList> parseBinary(std::string_view bytes);
// XML, with or without its prolog and the plist element. A document type may be named but not defined inside.
std::optional<PropertyList> parseXML(std::string_view xml);

}   // namespace ostrel::propertyList
