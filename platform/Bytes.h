#pragma once

#include <cstddef>
#include <memory>
#include <span>
#include <string>
#include <string_view>

namespace ostrel {

// A borrowed run of bytes; valid only while its owner lives.
using ByteView = std::span<const std::byte>;

// Returns the same bytes as chars, for searches like memchr. Says nothing about their charset.
inline std::string_view charsOf(ByteView bytes) { return {reinterpret_cast<const char*>(bytes.data()), bytes.size()}; }

// The UTF-8 bytes of a text.
inline ByteView bytesOf(std::string_view text) { return std::as_bytes(std::span(text.data(), text.size())); }

// Immutable bytes that own their storage. Copies and slices share one buffer, so a part of a message is a window on
// the message, never a copy of it. Compared by content.
class Bytes {
public:
    Bytes() = default;
    // Takes the string's characters as bytes, whatever they mean.
    explicit Bytes(std::string content);
    static Bytes copyOf(ByteView content);

    ByteView view() const { return view_; }
    std::string_view chars() const { return charsOf(view_); }
    std::size_t size() const { return view_.size(); }
    bool empty() const { return view_.empty(); }

    // Returns at most count bytes from offset on; a range past the end is cut to what there is.
    Bytes slice(std::size_t offset, std::size_t count = std::string_view::npos) const;

    bool operator==(const Bytes& other) const { return chars() == other.chars(); }

private:
    std::shared_ptr<const std::string> owner_;
    ByteView view_;
};

}   // namespace ostrel
