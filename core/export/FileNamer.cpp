#include "core/export/FileNamer.h"

#include "platform/Text.h"

#include <cstdio>

namespace ostrel {

namespace {

constexpr std::size_t duplicateSuffixBytes = 6;   // " (2)" up to " (999)" without going over maxBytes
constexpr std::size_t senderBytes = 40;
constexpr std::size_t subjectBytes = 100;
constexpr std::size_t longestExtension = 12;         // characters; a longer tail after a dot is part of the name
constexpr std::size_t longestExtensionBytes = 165;   // twelve characters can have any size: leave room for "Untitled"
constexpr std::size_t extensionLookBytes = 4096;     // nobody's twelve characters are longer
constexpr std::string_view untitled = "Untitled";
constexpr std::size_t npos = std::string_view::npos;

bool isForbidden(char32_t c) {
    constexpr std::u32string_view reserved = U"/\\:*?\"<>|";
    return reserved.find(c) != std::u32string_view::npos || text::isControlOrFormat(c) || c == U'\u2028' ||
           c == U'\u2029';
}

std::string_view trimBlanksAndDots(std::string_view s) {
    while (!s.empty()) {
        const auto first = text::decodeAt(s, 0);
        if (first.codePoint != U'.' && !text::isBlank(first.codePoint)) break;
        s.remove_prefix(first.length);
    }
    while (!s.empty()) {
        const auto last = text::decodeBefore(s, s.size());
        if (last.codePoint != U'.' && !text::isBlank(last.codePoint)) break;
        s.remove_suffix(last.length);
    }
    return s;
}

std::string withoutDots(std::string text) {
    std::erase(text, '.');
    return text;
}

}   // namespace

FileNamer::FileNamer(const std::vector<std::string>& taken) {
    for (const std::string& name : taken) used_.insert(text::lower(name));
}

std::string FileNamer::safe(std::string_view text) {
    std::string clean;
    for (std::size_t at = 0; at < text.size();) {
        const auto [codePoint, length] = text::decodeAt(text, at);
        const bool isSpace = codePoint == U' ' || isForbidden(codePoint);
        if (!isSpace) clean.append(text, at, length);
        if (isSpace && !clean.ends_with(' ')) clean += ' ';
        at += length;
    }
    std::string_view rest = trimBlanksAndDots(clean);
    // A leading dot hides a file, a leading hyphen reads as an option.
    while (rest.starts_with('.') || rest.starts_with('-')) rest.remove_prefix(1);
    return std::string(text::trimBlanks(rest));
}

std::string FileNamer::truncate(std::string_view text, std::size_t bytes) {
    if (text.size() <= bytes) return std::string(text);
    // Whether a cluster ends within the budget shows at the character behind it: no more than that is looked at, and
    // half a character at the end of it does no harm.
    constexpr std::size_t lookAhead = 8;
    std::size_t end = 0;
    for (const std::size_t length : text::graphemeLengths(text.substr(0, bytes + lookAhead))) {
        if (end + length > bytes) break;
        end += length;
    }
    return std::string(text::trimASCII(text.substr(0, end), " .-"));
}

std::string FileNamer::messageBase(Instant date, std::string_view from, std::string_view subject,
                                   std::string_view noSubject, const Calendar& calendar) {
    const DateComponents c = calendar.components(date);
    char stamp[64];
    std::snprintf(stamp, sizeof stamp, "%04d-%02d-%02d %02d%02d", c.date.year, c.date.month, c.date.day, c.hour,
                  c.minute);
    std::string base = stamp;
    if (const std::string sender = truncate(safe(from), senderBytes); !sender.empty()) base += ' ' + sender;
    return base + " - " + truncate(safe(subject.empty() ? noSubject : subject), subjectBytes);
}

std::string FileNamer::stemOf(std::string_view base, std::size_t extensionBytes) {
    std::string stem = safe(base);
    if (stem.empty()) stem = untitled;
    stem = truncate(stem, maxBytes - duplicateSuffixBytes - extensionBytes);
    return stem.empty() ? std::string(untitled) : stem;
}

std::size_t& FileNamer::nextNumber(const std::string& stem, const std::string& extension) {
    return nextNumber_.try_emplace(text::lower(stem) + '/' + text::lower(extension), 2).first->second;
}

std::string FileNamer::unique(std::string_view base, std::string_view ext) {
    std::string extension = truncate(withoutDots(safe(ext)), longestExtensionBytes);
    if (!extension.empty()) extension.insert(0, 1, '.');
    const std::string stem = stemOf(base, extension.size());
    std::string name = stem + extension;
    std::string key = text::lower(name);
    if (used_.insert(key).second) return name;
    // Names stay taken, so the search goes on where it ended the last time.
    std::size_t& number = nextNumber(stem, extension);
    do {
        name = stem + " (" + std::to_string(number++) + ")" + extension;
        key = text::lower(name);
    } while (!used_.insert(key).second);
    return name;
}

void FileNamer::giveAgain(std::string_view base, const std::string& name) {
    used_.insert(text::lower(name));
    const std::string stem = stemOf(base, 0);
    if (!name.starts_with(stem + " (") || !name.ends_with(")")) return;
    const std::string_view digits = std::string_view(name).substr(stem.size() + 2, name.size() - stem.size() - 3);
    long long last = 0;
    std::size_t& number = nextNumber(stem, "");
    // Numbers were given one after the other. A record that claims to have got far beyond those before it is left at
    // its word, not counted up to.
    constexpr long long longestGap = 10000;
    if (!text::parseInteger(digits, last) || last < static_cast<long long>(number)) return;
    if (last - static_cast<long long>(number) > longestGap) return;
    used_.insert(text::lower(stem));
    while (number <= static_cast<std::size_t>(last))
        used_.insert(text::lower(stem + " (" + std::to_string(number++) + ")"));
}

std::string FileNamer::uniqueFileName(std::string_view fileName) {
    std::string_view path = fileName;
    while (path.size() > 1 && path.ends_with('/')) path.remove_suffix(1);
    const std::size_t slash = path.rfind('/');
    const std::size_t dot = path.rfind('.');
    const bool isInLastComponent = dot != npos && (slash == npos || dot > slash);
    if (isInLastComponent && dot > 0) {
        const std::string_view extension = path.substr(dot + 1);
        const std::size_t length = text::graphemeLengths(extension.substr(0, extensionLookBytes)).size();
        if (length > 0 && length <= longestExtension) return unique(path.substr(0, dot), extension);
    }
    return unique(fileName, "");
}

}   // namespace ostrel
