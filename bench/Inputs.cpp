#include "bench/Inputs.h"

#include "core/mailstore/Emlx.h"
#include "platform/Files.h"

#include <algorithm>

namespace ostrel::bench {

namespace {

std::filesystem::path folderInUse;

constexpr std::size_t most = 2000;   // as many as say the same as all of them

std::vector<Bytes> readMessages() {
    const auto paths = storedFiles();
    const std::size_t step = std::max<std::size_t>(1, paths.size() / most);
    std::vector<Bytes> messages;
    for (std::size_t i = 0; i < paths.size(); i += step) {
        try {
            messages.push_back(Emlx::container(files::readWhole(paths[i])).message);
        } catch (const Emlx::ReadError&) {
            // The sample store holds damaged files on purpose.
        }
    }
    return messages;
}

}   // namespace

const std::filesystem::path& store() { return folderInUse; }
void useStore(const std::filesystem::path& folder) { folderInUse = folder; }

std::vector<std::filesystem::path> storedFiles() {
    std::vector<std::filesystem::path> paths;
    files::walk(store(), files::Hidden::skip, [&](const files::Entry& entry) {
        if (!entry.isFolder && entry.name.ends_with(".emlx")) paths.push_back(entry.path);
        return entry.isFolder && entry.name == "Attachments" ? files::Walk::skipFolder : files::Walk::on;
    });
    return paths;
}

const std::vector<Bytes>& storedMessages() {
    static const std::vector<Bytes> messages = readMessages();
    return messages;
}

}   // namespace ostrel::bench
