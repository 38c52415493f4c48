#pragma once

#include "platform/Bytes.h"

#include <optional>
#include <string>
#include <string_view>

namespace ostrel {

// A character encoding of the system's converters. Compared by its canonical name.
class TextEncoding {
public:
    static TextEncoding utf8();
    static TextEncoding windows1252();
    static TextEncoding latin1();
    // Returns the encoding of a label: of the IANA registry, or an alias that real mail uses, letter case ignored. Some
    // labels give the superset that senders mean (gb2312 is read as gb18030). nullopt if the label is unknown.
    static std::optional<TextEncoding> named(std::string_view label);

    // Returns the bytes as UTF-8 text; nullopt if they are not valid in this encoding. A byte-order mark stays.
    std::optional<std::string> decode(ByteView bytes) const;

    const std::string& name() const { return name_; }
    bool operator==(const TextEncoding&) const = default;

private:
    explicit TextEncoding(std::string name) : name_(std::move(name)) {}
    std::string name_;
};

}   // namespace ostrel
