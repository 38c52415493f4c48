#include "platform/PercentEncoding.h"

#include "platform/ASCII.h"

#include <algorithm>
#include <cstddef>

namespace ostrel::percentEncoding {

Decoded decode(std::string_view text) {
    Decoded decoded;
    for (std::size_t at = 0; at < text.size();) {
        const auto percent = std::min(text.find('%', at), text.size());
        decoded.bytes.append(text, at, percent - at);
        at = percent;
        if (at == text.size()) break;
        const int high = at + 2 < text.size() ? ascii::hexValue(text[at + 1]) : -1;
        const int low = at + 2 < text.size() ? ascii::hexValue(text[at + 2]) : -1;
        const bool isEscape = high >= 0 && low >= 0;
        decoded.bytes += isEscape ? static_cast<char>(high << 4 | low) : '%';
        decoded.isWellFormed = decoded.isWellFormed && isEscape;
        at += isEscape ? 3 : 1;
    }
    return decoded;
}

}   // namespace ostrel::percentEncoding
