#pragma once

#include "platform/Bytes.h"

#include <optional>
#include <string>
#include <string_view>

// Undoes a part's Content-Transfer-Encoding (RFC 2045 section 6). Nothing fails: what is not understood is skipped
// (base64) or kept (quoted-printable). One pass, result never longer than the input.
namespace ostrel::TransferEncoding {

// encoding is the raw field value. An unknown or absent encoding gives the body itself, uncopied.
Bytes decode(const Bytes& body, std::optional<std::string_view> encoding);

// Standard and URL-safe alphabets, even mixed; the first "=" ends it.
std::string base64(ByteView bytes);

// RFC 4648 section 4, with padding, on one line.
std::string encodeBase64(ByteView bytes);

enum class Underscore { literal, space };   // space: the Q encoding of RFC 2047 section 4.2
std::string quotedPrintable(ByteView bytes, Underscore underscore);

}   // namespace ostrel::TransferEncoding
