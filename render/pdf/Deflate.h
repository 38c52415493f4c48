#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

// zlib streams (RFC 1950), whole buffers at a time.
namespace ostrel::zlib {

// thorough costs several times the time of quick and gives a few percent.
enum class Effort { quick, good, thorough };
std::string deflate(std::string_view bytes, Effort effort);

// Nothing when the stream is damaged or holds more than limit bytes. expected only saves time when it is right.
std::optional<std::string> inflate(std::string_view stream, std::size_t expected, std::size_t limit);

}   // namespace ostrel::zlib
