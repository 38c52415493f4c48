#pragma once

#include "platform/Bytes.h"
#include "platform/TextEncoding.h"

#include <optional>
#include <string>
#include <string_view>

// The one door from a message's bytes to text.
namespace ostrel::Charset {

// The encoding behind a label as a sender wrote it: quotes, blanks and an RFC 2231 language suffix are removed, ASCII
// means UTF-8 and ISO-8859-1 means Windows-1252. Nothing for an absent, empty or unknown label.
std::optional<TextEncoding> encoding(std::optional<std::string_view> label);

// Decodes as labelled, else as UTF-8, else as Windows-1252, else as ISO-8859-1: the first that accepts every byte.
// Never fails; the result is valid UTF-8.
std::string decode(ByteView bytes, std::optional<std::string_view> label);

}   // namespace ostrel::Charset
