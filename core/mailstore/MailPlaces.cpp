#include "core/mailstore/MailPlaces.h"

#include "core/mailstore/MailScanner.h"
#include "platform/Environment.h"
#include "platform/Files.h"

#include <algorithm>
#include <initializer_list>
#include <set>
#include <span>
#include <string_view>

namespace ostrel::MailPlaces {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t maxListed = 5000;   // folders, in all places together
constexpr std::string_view any = "*";

// Below a place. "*" is every folder there that is not hidden.
const std::vector<std::vector<std::string_view>>& patterns() {
    static const std::vector<std::vector<std::string_view>> all = {
        {"Library", "Mail"},
        {any},
        {any, "Library", "Mail"},            // a copied home
        {"Users", any, "Library", "Mail"},   // the disk of a Mac
        {"Backups.backupdb", any, "Latest", any, "Users", any, "Library", "Mail"},
    };
    return all;
}

class Search {
public:
    void look(const fs::path& at, std::span<const std::string_view> pattern) {
        if (pattern.empty()) {
            if (isMailFolder(at) && known_.insert(at).second) found.push_back(at);
            return;
        }
        if (pattern.front() == any) {
            for (const fs::path& child : foldersIn(at)) look(child, pattern.subspan(1));
        } else if (const fs::path child = at / pattern.front(); files::isFolder(child)) {
            look(child, pattern.subspan(1));
        }
    }

    std::vector<fs::path> found;

private:
    std::vector<fs::path> foldersIn(const fs::path& folder) {
        std::vector<fs::path> folders;
        if (listed_++ >= maxListed) return folders;
        try {
            for (const fs::path& name : files::list(folder)) {
                const fs::path child = folder / name;
                if (!name.native().starts_with('.') && files::isFolder(child)) folders.push_back(child);
            }
        } catch (const FileError&) {
            return {};   // not everybody's
        }
        return folders;
    }

    // Accounts with mailboxes below a folder of a version.
    bool isMailFolder(const fs::path& folder) {
        const fs::path root = MailScanner::dataRoot(folder);
        if (root == folder) return false;
        const auto isMailbox = [](const fs::path& child) { return child.extension() == ".mbox"; };
        return std::ranges::any_of(foldersIn(root), [&](const fs::path& account) {
            return isMailbox(account) || std::ranges::any_of(foldersIn(account), isMailbox);
        });
    }

    std::size_t listed_ = 0;
    std::set<fs::path> known_;
};

}   // namespace

std::vector<fs::path> usual(const fs::path& home) {
    std::vector<fs::path> places{home};
    for (const char* name : {"Desktop", "Documents", "Downloads"}) places.push_back(home / name);
    const fs::path user = home.filename();
    std::vector<fs::path> mounts{fs::path("/media") / user, fs::path("/run/media") / user, "/mnt"};
    if (const auto runtime = environment::value("XDG_RUNTIME_DIR")) mounts.push_back(fs::path(*runtime) / "gvfs");
    for (const fs::path& mount : mounts) {
        places.push_back(mount);
        try {
            for (const fs::path& name : files::list(mount)) places.push_back(mount / name);
        } catch (const FileError&) {
            continue;   // nothing is mounted there
        }
    }
    return places;
}

std::vector<fs::path> find(const std::vector<fs::path>& places) {
    Search search;
    for (const fs::path& place : places)
        for (const auto& pattern : patterns()) search.look(place, pattern);
    return search.found;
}

}   // namespace ostrel::MailPlaces
