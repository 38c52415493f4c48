#include "platform/MimeTypes.h"

#include "platform/Files.h"
#include "platform/SettingsStore.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdlib>
#include <filesystem>
#include <unordered_map>
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

// The data folders of the system, the most important first (XDG Base Directory 0.8).
std::vector<std::filesystem::path> dataFolders() {
    std::vector<std::filesystem::path> folders;
    const auto add = [&](std::string_view folder) {
        if (folder.starts_with('/')) folders.emplace_back(folder);
    };
    const char* home = std::getenv("XDG_DATA_HOME");
    add(home != nullptr && *home == '/' ? std::string(home) : (homeFolder() / ".local/share").native());
    const char* others = std::getenv("XDG_DATA_DIRS");
    std::string_view list = others != nullptr && *others != '\0' ? others : "/usr/local/share:/usr/share";
    while (!list.empty()) {
        const std::size_t colon = std::min(list.find(':'), list.size());
        add(list.substr(0, colon));
        list.remove_prefix(std::min(colon + 1, list.size()));
    }
    return folders;
}

// Calls use with every line of a file that is no comment; a file that cannot be read has none.
template <typename Use>
void forEachLine(const std::filesystem::path& path, Use use) {
    std::string content;
    try {
        files::ReadHandle(path).readToEnd(content);
    } catch (const FileError&) {
        return;
    }
    for (std::string_view rest = content; !rest.empty();) {
        const std::size_t end = std::min(rest.find('\n'), rest.size());
        if (const std::string_view line = rest.substr(0, end); !line.empty() && line.front() != '#') use(line);
        rest.remove_prefix(std::min(end + 1, rest.size()));
    }
}

// The text up to the separator, which goes too; all of it when there is none.
std::string_view takeField(std::string_view& line, char separator) {
    const std::size_t end = std::min(line.find(separator), line.size());
    const std::string_view field = line.substr(0, end);
    line.remove_prefix(std::min(end + 1, line.size()));
    return field;
}

// The tables of shared-mime-info ("globs2" and "aliases" in each mime folder).
class SystemTypes {
public:
    SystemTypes() {
        for (const auto& folder : dataFolders()) {
            forEachLine(folder / "mime/globs2", [&](std::string_view line) { addGlob(line); });
            forEachLine(folder / "mime/aliases", [&](std::string_view line) {
                const std::string_view alias = takeField(line, ' ');
                aliases_.try_emplace(std::string(alias), line);
            });
        }
    }

    std::optional<std::string> extension(const std::string& type) const {
        const auto alias = aliases_.find(type);
        const auto found = best_.find(alias == aliases_.end() ? type : alias->second);
        if (found == best_.end()) return std::nullopt;
        return found->second.extension;
    }

private:
    struct Best {
        int weight;
        std::string extension;
    };

    // weight:type:pattern[:flags], where only the patterns "*.ext" tell an extension.
    void addGlob(std::string_view line) {
        const std::string_view weightText = takeField(line, ':');
        const std::string_view type = takeField(line, ':');
        std::string_view pattern = takeField(line, ':');
        int weight = 0;
        std::from_chars(weightText.data(), weightText.data() + weightText.size(), weight);
        if (!pattern.starts_with("*.")) return;
        pattern.remove_prefix(2);
        if (pattern.empty() || pattern.find_first_of("*?[") != std::string_view::npos) return;
        const auto [found, isNew] = best_.try_emplace(std::string(type), Best{weight, std::string(pattern)});
        if (!isNew && weight > found->second.weight) found->second = {weight, std::string(pattern)};
    }

    std::unordered_map<std::string, Best> best_;
    std::unordered_map<std::string, std::string> aliases_;
};

}   // namespace

std::optional<std::string> preferredExtension(std::string_view mimeType) {
    const auto* known = std::ranges::lower_bound(knownTypes, mimeType, {}, &Known::type);
    if (known != knownTypes.end() && known->type == mimeType) return std::string(known->extension);
    static const SystemTypes system;
    return system.extension(std::string(mimeType));
}

}   // namespace ostrel::mimeTypes
