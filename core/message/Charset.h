#pragma once

#include "platform/Bytes.h"
#include "platform/TextEncoding.h"

#include <optional>
#include <string>
#include <string_view>

// Decodes a message's bytes to text. Nothing else does.
namespace ostrel::Charset {

// Returns the encoding of a label as a sender wrote it: quotes, blanks and an RFC 2231 language suffix are ignored,
// ASCII means UTF-8 and ISO-8859-1 means Windows-1252. nullopt for an absent, empty or unknown label.
std::optional<TextEncoding> encoding(std::optional<std::string_view> label);

// Decodes as labelled, else as UTF-8, else as Windows-1252, else as ISO-8859-1: the first that accepts every byte.
// Never fails; the result is valid UTF-8.
std::string decode(ByteView bytes, std::optional<std::string_view> label);

}   // namespace ostrel::Charset
