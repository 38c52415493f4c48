#pragma once

#include "platform/Bytes.h"

#include <cstdint>
#include <set>

// Whether what Ostrel replaces (render/overrides) really works, seen from its effects: a library that is not found, or
// an engine that has changed, would go unnoticed otherwise, because everything works without.
namespace ostrel::overrideEffects {

// Looks at a file as the engine printed it and at the web process that printed it, and reports what they show. Takes a
// few milliseconds. On any thread.
void look(ByteView printed);

// True if the engine has packed a stream of the file.
bool hasPackedStreams(ByteView printed);
// Returns the sizes of the TrueType fonts embedded in the file, in bytes.
std::set<std::uintmax_t> fontSizes(ByteView printed);

}   // namespace ostrel::overrideEffects
