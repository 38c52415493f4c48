#pragma once

#include <cstddef>
#include <filesystem>
#include <optional>

// A small fictional mail store in the layout of Apple Mail's, which shows everything the reader knows: accounts, nested
// mailboxes, conversations, plain and HTML mail, inline and remote images, stored attachments, scripts and charsets,
// duplicates, one cut-short and one damaged file.
namespace ostrel::SampleMail {

// Writes the store into the folder (created when missing), the same bytes for the same arguments, file dates included.
// With a count: that many messages of the same kinds, for measuring. Throws FileError.
void write(const std::filesystem::path& folder, std::optional<std::size_t> count = std::nullopt);

}   // namespace ostrel::SampleMail
