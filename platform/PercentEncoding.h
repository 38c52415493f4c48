#pragma once

#include <string>
#include <string_view>

// Percent-encoding (RFC 3986 section 2.1).
namespace ostrel::percentEncoding {

struct Decoded {
    std::string bytes;
    bool isWellFormed = true;   // every "%" had its two hexadecimal digits
};
// A "%" without them stands for itself.
Decoded decode(std::string_view text);

}   // namespace ostrel::percentEncoding
