#pragma once

#include "platform/Bytes.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <variant>

namespace ostrel {

// A part of a message that is not its text.
struct MailAttachment {
    struct Missing {
        bool operator==(const Missing&) const = default;
    };
    // The bytes themselves; a file of the mail program's attachments folder that holds them; or nowhere.
    using Source = std::variant<Bytes, std::filesystem::path, Missing>;

    std::string filename;   // to show and to save under; never empty, not yet safe for a disk
    std::string mimeType;   // lower case
    std::optional<std::string> contentID;
    std::string partNumber;
    Source source;

    bool isAvailable() const { return !std::holds_alternative<Missing>(source); }
    // Returns the size in bytes; nullopt if the bytes are missing or the file cannot be read.
    std::optional<std::uint64_t> size() const;
    // Returns the bytes, read from the file if they are in one. Throws FileError (notFound when missing).
    Bytes data() const;

    bool operator==(const MailAttachment&) const = default;
};

}   // namespace ostrel
