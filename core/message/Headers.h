#pragma once

#include "platform/Bytes.h"

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace ostrel {

// One header field (RFC 5322 section 2.2).
struct HeaderField {
    std::string name;    // as written
    std::string value;   // unfolded, blanks at the ends removed, encoded words still in it
    bool operator==(const HeaderField&) const = default;
};

// The header block of a message or of one part.
struct Headers {
    std::vector<HeaderField> fields;   // in block order, duplicates kept
    bool isCutShort = false;           // there were more than could be kept

    // A field takes 64 bytes of memory where three in the file are enough for one. Real blocks have some dozens.
    static constexpr std::size_t fieldLimit = 1'000'000;

    // Never fails; lines that cannot be a field are dropped. The whole block has one charset: UTF-8 when it is valid
    // UTF-8, otherwise Windows-1252. Keeps the first maxFields fields.
    static Headers parse(ByteView headerBytes, std::size_t maxFields = fieldLimit);
    // Keeps only the fields with one of the names, which are ASCII, letter case ignored: a list needs few of a block's
    // fields.
    static Headers parseOnly(ByteView headerBytes, std::span<const std::string_view> names);

    // Returns the raw value of the first field of that name, letter case ignored. The view lives as long as this.
    std::optional<std::string_view> first(std::string_view name) const;
    // The same with encoded words decoded (RFC 2047).
    std::optional<std::string> decoded(std::string_view name) const;

    bool operator==(const Headers&) const = default;
};

// Where the first empty line (LF or CR LF) divides the bytes of a message or part. The header is bytes [0, headerSize),
// the body starts at bodyStart, possibly the input's length; the empty line belongs to neither.
struct HeaderBodySplit {
    std::size_t headerSize = 0;
    std::size_t bodyStart = 0;
    bool operator==(const HeaderBodySplit&) const = default;
};
HeaderBodySplit splitHeaderAndBody(ByteView bytes);

}   // namespace ostrel
