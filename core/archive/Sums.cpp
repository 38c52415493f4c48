#include "core/archive/Sums.h"

#include <algorithm>
#include <optional>

namespace ostrel {

namespace {

constexpr std::size_t longestName = 255;   // bytes; what the file systems of today take
constexpr std::size_t digestDigits = 64;

std::optional<std::string> unescaped(std::string_view name) {
    std::string plain;
    for (std::size_t i = 0; i < name.size(); ++i) {
        if (name[i] != '\\') {
            plain += name[i];
            continue;
        }
        const char kind = ++i < name.size() ? name[i] : '\0';
        if (kind == '\\') {
            plain += '\\';
        } else if (kind == 'n') {
            plain += '\n';
        } else if (kind == 'r') {
            plain += '\r';
        } else {
            return std::nullopt;
        }
    }
    return plain;
}

std::optional<ArchivedFile> parseLine(std::string_view line) {
    const bool isEscaped = line.starts_with('\\');
    if (isEscaped) line.remove_prefix(1);
    const auto digest = digestOf(line.substr(0, digestDigits));
    if (!digest) return std::nullopt;
    line.remove_prefix(digestDigits);
    // A star in the place of the second blank says that the file was read in binary mode, which is the same here.
    if (!line.starts_with("  ") && !line.starts_with(" *")) return std::nullopt;
    line.remove_prefix(2);
    const auto name = isEscaped ? unescaped(line) : std::optional<std::string>(line);
    if (!name || !isArchiveName(*name)) return std::nullopt;
    return ArchivedFile{*name, *digest};
}

}   // namespace

bool isPlainName(std::string_view name) {
    return !name.empty() && name != "." && name != ".." && name.size() <= longestName &&
           name.find_first_of(std::string_view("/\0", 2)) == std::string_view::npos;
}

bool isArchiveName(std::string_view name) {
    const std::size_t slash = name.find('/');
    if (slash == std::string_view::npos) return isPlainName(name);
    return isPlainName(name.substr(0, slash)) && isPlainName(name.substr(slash + 1));
}

void Sums::append(std::string& text, const ArchivedFile& file) {
    const bool isEscaped = file.name.find_first_of("\\\n\r") != std::string::npos;
    if (isEscaped) text += '\\';
    text.append(hexOf(file.digest)).append("  ");
    for (const char c : file.name) {
        if (c == '\\') {
            text += "\\\\";
        } else if (c == '\n') {
            text += "\\n";
        } else if (c == '\r') {
            text += "\\r";
        } else {
            text += c;
        }
    }
    text += '\n';
}

Sums::Content Sums::parse(std::string_view text) {
    Content content;
    while (!text.empty()) {
        const std::size_t end = text.find('\n');
        const std::string_view line = text.substr(0, end);
        text.remove_prefix(std::min(text.size(), line.size() + 1));
        // A last line without its end was cut short, even where what is left would pass for a shorter name.
        auto file = end == std::string_view::npos ? std::nullopt : parseLine(line);
        if (file) {
            content.files.push_back(std::move(*file));
        } else {
            ++content.damagedLines;
        }
    }
    return content;
}

}   // namespace ostrel
