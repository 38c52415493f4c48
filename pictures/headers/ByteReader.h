#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

// Numbers within the bytes of a picture. What lies beyond the end is 0.
namespace ostrel::pictures {

enum class Order { bigEndian, littleEndian };

inline std::uint32_t byteAt(std::string_view bytes, std::size_t at) {
    return at < bytes.size() ? static_cast<unsigned char>(bytes[at]) : 0;
}

inline std::uint32_t number(std::string_view bytes, std::size_t at, std::size_t length, Order order) {
    std::uint32_t value = 0;
    for (std::size_t i = 0; i < length; ++i)
        value = value << 8 | byteAt(bytes, order == Order::bigEndian ? at + i : at + length - 1 - i);
    return value;
}
inline std::uint32_t number16(std::string_view bytes, std::size_t at, Order order = Order::bigEndian) {
    return number(bytes, at, 2, order);
}
inline std::uint32_t number32(std::string_view bytes, std::size_t at, Order order = Order::bigEndian) {
    return number(bytes, at, 4, order);
}

}   // namespace ostrel::pictures
