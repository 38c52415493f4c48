#include "core/message/MailAttachment.h"

#include "platform/Files.h"

#include <system_error>

namespace ostrel {

std::optional<std::uint64_t> MailAttachment::size() const {
    if (const auto* bytes = std::get_if<Bytes>(&source)) return bytes->size();
    if (const auto* path = std::get_if<std::filesystem::path>(&source)) return files::size(*path);
    return std::nullopt;
}

Bytes MailAttachment::data() const {
    if (const auto* bytes = std::get_if<Bytes>(&source)) return *bytes;
    if (const auto* path = std::get_if<std::filesystem::path>(&source)) return files::readWhole(*path);
    throw FileError::reading(filename, std::make_error_code(std::errc::no_such_file_or_directory));
}

}   // namespace ostrel
