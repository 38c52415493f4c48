#include "core/message/StoredFiles.h"

#include "platform/Files.h"

#include <algorithm>
#include <vector>

namespace ostrel {
namespace {

bool isFolderItself(const std::filesystem::path& path) {
    std::error_code ignored;
    return std::filesystem::is_directory(std::filesystem::symlink_status(path, ignored));
}

// A regular file of the folder, perhaps by a link that stays inside it.
bool isFileOf(const std::filesystem::path& folder, const std::filesystem::path& path) {
    if (files::isRegularFile(path)) return true;
    std::error_code failed;
    const auto target = std::filesystem::canonical(path, failed);
    if (failed || !files::isRegularFile(target)) return false;
    const auto inside = std::filesystem::canonical(folder, failed) / "";
    return !failed && target.native().starts_with(inside.native());
}

}   // namespace

std::optional<std::filesystem::path> StoredFiles::find(const std::string& partNumber, const std::string& filename) {
    if (!folder_) return std::nullopt;
    if (auto found = inPartFolder(partNumber, filename)) return found;
    if (!byName_) indexByName();
    const auto found = byName_->find(filename);
    if (found == byName_->end()) return std::nullopt;
    return found->second;
}

std::optional<std::filesystem::path> StoredFiles::inPartFolder(const std::string& partNumber,
                                                               const std::string& filename) const {
    const auto folder = *folder_ / partNumber;
    if (!isFolderItself(folder)) return std::nullopt;
    std::vector<std::filesystem::path> names;
    try {
        names = files::list(folder);
    } catch (const FileError&) {
        return std::nullopt;
    }
    std::erase_if(names, [](const auto& name) { return name.native().starts_with('.'); });
    const auto named = std::ranges::find(names, filename, [](const auto& name) { return name.native(); });
    if (named == names.end() && names.size() != 1) return std::nullopt;
    auto path = folder / (named != names.end() ? *named : names.front());
    if (!isFileOf(*folder_, path)) return std::nullopt;
    return path;
}

void StoredFiles::indexByName() {
    byName_.emplace();
    try {
        files::walk(*folder_, files::Hidden::include, [this](const files::Entry& entry) {
            std::string name(entry.name);
            if (!entry.isFolder && !byName_->contains(name) && isFileOf(*folder_, entry.path)) {
                byName_->emplace(std::move(name), entry.path);
            }
            return files::Walk::on;
        });
    } catch (const FileError&) {
        // No folder: then the message's attachments were never downloaded.
    }
}

}   // namespace ostrel
