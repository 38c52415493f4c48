#include "platform/Catalogue.h"

#include "platform/Files.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <optional>

namespace ostrel {
namespace {

// All numbers are in the byte order of the machine that made the file, which is the machine it is read on.
//     0 magic, 4 revision, 8 number of texts, 12 offset of the table of keys, 16 offset of the table of texts
// An entry of a table is the length and the offset of a string.
constexpr std::uint32_t magic = 0x950412de;

std::optional<std::uint32_t> wordAt(std::string_view file, std::size_t offset) {
    std::uint32_t word = 0;
    if (offset > file.size() || file.size() - offset < sizeof word) return std::nullopt;
    std::memcpy(&word, file.data() + offset, sizeof word);
    return word;
}

std::optional<std::string_view> stringAt(std::string_view file, std::size_t entry) {
    const auto length = wordAt(file, entry), offset = wordAt(file, entry + 4);
    if (!length || !offset || *offset > file.size() || file.size() - *offset < *length) return std::nullopt;
    return file.substr(*offset, *length);
}

}   // namespace

Catalogue Catalogue::read(const std::filesystem::path& file) {
    Catalogue catalogue;
    Bytes bytes;
    try {
        bytes = files::readWhole(file);
    } catch (const FileError&) {
        return catalogue;
    }
    const std::string_view content = bytes.chars();
    const auto count = wordAt(content, 8), keys = wordAt(content, 12), texts = wordAt(content, 16);
    if (wordAt(content, 0) != magic || !count || !keys || !texts) return catalogue;
    for (std::size_t i = 0; i < *count; ++i) {
        const auto key = stringAt(content, *keys + 8 * i), text = stringAt(content, *texts + 8 * i);
        if (!key || !text) return Catalogue();
        // Behind the key of a text with several forms stands that of its plural.
        catalogue.texts_.emplace(key->substr(0, key->find('\0')), *text);
    }
    return catalogue;
}

const char* Catalogue::text(std::string_view key, std::size_t form) const {
    const auto found = texts_.find(std::string(key));
    if (found == texts_.end()) return nullptr;
    std::size_t at = 0;
    for (; form > 0; --form) {
        const auto next = found->second.find('\0', at);
        if (next == std::string::npos) break;
        at = next + 1;
    }
    return found->second.c_str() + at;
}

}   // namespace ostrel
