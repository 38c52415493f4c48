#include "platform/MIMETypes.h"

#include "platform/Files.h"
#include "platform/UserFolders.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <filesystem>
#include <vector>

namespace ostrel::mimeTypes {
namespace {

// What mail carries, with the extension people expect; also the names that mail programs make up.
struct Known {
    std::string_view type, extension;
};
constexpr auto knownTypes = std::to_array<Known>({
    {"application/gzip", "gz"},
    {"application/ics", "ics"},
    {"application/json", "json"},
    {"application/ms-tnef", "dat"},
    {"application/msexcel", "xls"},
    {"application/mspowerpoint", "ppt"},
    {"application/msword", "doc"},
    {"application/octet-stream", "bin"},
    {"application/pdf", "pdf"},
    {"application/pgp-encrypted", "asc"},
    {"application/pgp-keys", "asc"},
    {"application/pgp-signature", "asc"},
    {"application/pkcs7-mime", "p7m"},
    {"application/pkcs7-signature", "p7s"},
    {"application/postscript", "ps"},
    {"application/rtf", "rtf"},
    {"application/vnd.apple.keynote", "key"},
    {"application/vnd.apple.numbers", "numbers"},
    {"application/vnd.apple.pages", "pages"},
    {"application/vnd.apple.pkpass", "pkpass"},
    {"application/vnd.ms-excel", "xls"},
    {"application/vnd.ms-outlook", "msg"},
    {"application/vnd.ms-powerpoint", "ppt"},
    {"application/vnd.ms-tnef", "dat"},
    {"application/vnd.oasis.opendocument.presentation", "odp"},
    {"application/vnd.oasis.opendocument.spreadsheet", "ods"},
    {"application/vnd.oasis.opendocument.text", "odt"},
    {"application/vnd.openxmlformats-officedocument.presentationml.presentation", "pptx"},
    {"application/vnd.openxmlformats-officedocument.spreadsheetml.sheet", "xlsx"},
    {"application/vnd.openxmlformats-officedocument.wordprocessingml.document", "docx"},
    {"application/x-gzip", "gz"},
    {"application/x-pdf", "pdf"},
    {"application/x-pkcs7-mime", "p7m"},
    {"application/x-pkcs7-signature", "p7s"},
    {"application/x-zip-compressed", "zip"},
    {"application/xhtml+xml", "xhtml"},
    {"application/xml", "xml"},
    {"application/zip", "zip"},
    {"audio/aac", "aac"},
    {"audio/amr", "amr"},
    {"audio/m4a", "m4a"},
    {"audio/mp3", "mp3"},
    {"audio/mp4", "m4a"},
    {"audio/mpeg", "mp3"},
    {"audio/ogg", "ogg"},
    {"audio/wav", "wav"},
    {"audio/x-m4a", "m4a"},
    {"audio/x-wav", "wav"},
    {"image/bmp", "bmp"},
    {"image/gif", "gif"},
    {"image/heic", "heic"},
    {"image/heif", "heif"},
    {"image/jpeg", "jpeg"},
    {"image/jpg", "jpeg"},
    {"image/pjpeg", "jpeg"},
    {"image/png", "png"},
    {"image/svg+xml", "svg"},
    {"image/tiff", "tiff"},
    {"image/webp", "webp"},
    {"image/x-png", "png"},
    {"message/delivery-status", "txt"},
    {"message/disposition-notification", "txt"},
    {"message/global", "eml"},
    {"message/rfc822", "eml"},
    {"text/calendar", "ics"},
    {"text/css", "css"},
    {"text/csv", "csv"},
    {"text/directory", "vcf"},
    {"text/html", "html"},
    {"text/markdown", "md"},
    {"text/plain", "txt"},
    {"text/rfc822-headers", "txt"},
    {"text/richtext", "rtx"},
    {"text/rtf", "rtf"},
    {"text/vcard", "vcf"},
    {"text/x-vcard", "vcf"},
    {"text/xml", "xml"},
    {"video/mp4", "mp4"},
    {"video/mpeg", "mpg"},
    {"video/quicktime", "mov"},
    {"video/webm", "webm"},
});
static_assert(std::ranges::is_sorted(knownTypes, {}, &Known::type));

// A system's file about MIME types; what cannot be read is empty.
std::string contentOf(const std::filesystem::path& path) {
    std::string content;
    try {
        files::ReadHandle(path).readToEnd(content);
    } catch (const FileError&) {
        content.clear();
    }
    return content;
}

// type/subtype of RFC 6838 names only: it becomes part of a path.
bool isPlainType(std::string_view type) {
    const auto isNameCharacter = [](char c) {
        return (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') ||
               std::string_view("!#$&-^_.+").find(c) != std::string_view::npos;
    };
    const std::size_t slash = type.find('/');
    if (slash == std::string_view::npos || type.starts_with('.')) return false;
    const std::string_view subtype = type.substr(slash + 1);
    return !subtype.empty() && !subtype.starts_with('.') &&
           std::ranges::all_of(type.substr(0, slash), isNameCharacter) && std::ranges::all_of(subtype, isNameCharacter);
}

std::string_view attribute(std::string_view tag, std::string_view opening) {
    const std::size_t start = tag.find(opening);
    if (start == std::string_view::npos) return {};
    const std::string_view value = tag.substr(start + opening.size());
    return value.substr(0, value.find('"'));
}

// The extension of a type's file in shared-mime-info: of its <glob weight="50" pattern="*.mid"/> elements, which begin
// with the usual one, the first among those of the greatest weight that is "*." and an extension. (The one table of all
// globs would be shorter to read, but has lost that order: it gives MIDI files the extension of karaoke files.)
std::optional<std::string> extensionIn(std::string_view typeFile) {
    std::optional<std::string> best;
    int bestWeight = -1;
    for (std::size_t at = typeFile.find("<glob "); at != std::string_view::npos; at = typeFile.find("<glob ", at + 1)) {
        const std::string_view tag = typeFile.substr(at, typeFile.find('>', at) - at);
        std::string_view pattern = attribute(tag, "pattern=\"");
        if (!pattern.starts_with("*.")) continue;
        pattern.remove_prefix(2);
        if (pattern.empty() || pattern.find_first_of("*?[]/&") != std::string_view::npos) continue;
        int weight = 50;
        const std::string_view weightText = attribute(tag, "weight=\"");
        std::from_chars(weightText.data(), weightText.data() + weightText.size(), weight);
        if (weight <= bestWeight) continue;
        bestWeight = weight;
        best = pattern;
    }
    return best;
}

// What the type is an alias of, from lines "alias type"; the type itself when it is none.
std::string unaliased(std::string_view aliasFile, std::string_view type) {
    const std::string line = '\n' + std::string(type) + ' ';
    const std::size_t at = aliasFile.find(line);
    if (at == std::string_view::npos) return std::string(type);
    const std::string_view target = aliasFile.substr(at + line.size());
    return std::string(target.substr(0, target.find('\n')));
}

}   // namespace

std::optional<std::string> preferredExtension(std::string_view mimeType) {
    const auto* known = std::ranges::lower_bound(knownTypes, mimeType, {}, &Known::type);
    if (known != knownTypes.end() && known->type == mimeType) return std::string(known->extension);
    for (const auto& folder : dataFolders()) {
        const std::filesystem::path mime = folder / "mime";
        const std::string type = unaliased('\n' + contentOf(mime / "aliases"), mimeType);
        if (!isPlainType(type)) continue;
        if (auto extension = extensionIn(contentOf(mime / (type + ".xml")))) return extension;
    }
    return std::nullopt;
}

}   // namespace ostrel::mimeTypes
