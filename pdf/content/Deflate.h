#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

// zlib streams (RFC 1950), whole buffers at a time.
namespace ostrel::zlib {

// Fair is for pictures: half the time of good for a twentieth more. Beyond good, content that repeats itself (long
// tables) takes ten times the time for one percent. Best is for the many short streams of drawn glyphs: twice the time,
// three percent.
enum class Effort { quick, fair, good, best };
std::string deflate(std::string_view bytes, Effort effort);

// nullopt if the stream is damaged or holds more than limit bytes. expected: the size, which saves time when it is
// right.
std::optional<std::string> inflate(std::string_view stream, std::size_t expected, std::size_t limit);

}   // namespace ostrel::zlib
