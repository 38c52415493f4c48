#pragma once

#include "core/message/Headers.h"
#include "core/message/MailMessage.h"
#include "platform/Bytes.h"
#include "platform/Files.h"
#include "platform/Time.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

// Message container files of the Apple Mail store:
//
//   "1234      \n"      length of the message in bytes
//   <1234 bytes>        the message (RFC 5322), CR LF or LF
//   <?xml ... plist>    the mail program's bookkeeping
namespace ostrel::Emlx {

struct Container {
    Bytes message;
    std::optional<Instant> dateReceived;
    std::optional<std::int64_t> flags;   // as stored, not interpreted
    bool truncated = false;              // the first line promises more bytes than the file holds
    bool operator==(const Container&) const = default;
};

class ReadError : public std::runtime_error {
public:
    enum class Kind { empty, notAMessage };
    explicit ReadError(Kind kind);
    const Kind kind;
};

// Parses the bytes of a whole file. Throws ReadError.
Container container(const Bytes& file);

// Appends the header block of a message file just opened to out, reading the file's first 64 KiB only unless the block
// is longer. Throws ReadError, FileError; out is then as it was.
void readHeaderBlock(files::ReadHandle& file, std::string& out);
// Reads the header fields of a message file. Throws ReadError, FileError.
Headers readHeaders(const std::filesystem::path& file);

// Makes the message in the container of that file, whose attachments may lie beside it. Never fails.
MailMessage message(const Container& container, const std::filesystem::path& file);
// Reads the whole message. A message without a date takes the date received. Throws ReadError, FileError.
MailMessage read(const std::filesystem::path& file);

// Returns whether the bytes start like a mail message: a field name and a colon, or "From ".
bool looksLikeMessage(ByteView bytes);

// "1234" for 1234.partial.emlx.
std::string number(const FilePath& file);
bool isPartial(const FilePath& file);
// Returns where Mail keeps attachments outside the message file: ../../Attachments/1234.
std::filesystem::path attachmentsFolder(const std::filesystem::path& file);

}   // namespace ostrel::Emlx
