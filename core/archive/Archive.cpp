#include "core/archive/Archive.h"

#include <unordered_map>
#include <utility>

namespace ostrel {

namespace {

namespace fs = std::filesystem;

// The content of one of the archive's own files; nullopt when it is not there or no regular file.
std::optional<Bytes> contentOf(const fs::path& folder, const char* name) {
    const fs::path path = folder / name;
    if (!files::isRegularFile(path)) return std::nullopt;
    return files::readWhole(path);
}

template <typename Take>
void eachLine(std::string_view text, Take take) {
    while (!text.empty()) {
        const std::size_t end = text.find('\n');
        take(text.substr(0, end));
        text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    }
}

// Messages in the order they came, of one name the last.
class Messages {
public:
    void add(ArchivedMessage message) {
        const auto [found, isNew] = places_.try_emplace(message.name, messages_.size());
        if (isNew) {
            messages_.push_back(std::move(message));
        } else {
            messages_[found->second] = std::move(message);
        }
    }
    std::vector<ArchivedMessage> take() { return std::move(messages_); }

private:
    std::vector<ArchivedMessage> messages_;
    std::unordered_map<std::string, std::size_t> places_;
};

}   // namespace

Archive Archive::read(const fs::path& folder) {
    Archive archive;
    Messages messages;
    if (const auto content = contentOf(folder, messagesName)) {
        archive.hasMessages = true;
        archive.messagesDigest = sha256(content->view());
        eachLine(content->chars(), [&](std::string_view line) {
            auto parsed = ArchiveLine::parse(line);
            if (auto* message = std::get_if<ArchivedMessage>(&parsed)) {
                messages.add(std::move(*message));
            } else {
                ++archive.damagedMessages;
            }
        });
    }
    if (const auto content = contentOf(folder, journalName)) {
        archive.isUnfinished = true;
        bool isFirstLine = true;
        // Lines that a kill or a loss of power cut short, or filled with anything, count for nothing.
        eachLine(content->chars(), [&](std::string_view line) {
            auto parsed = ArchiveLine::parse(line);
            if (auto* message = std::get_if<ArchivedMessage>(&parsed)) messages.add(std::move(*message));
            if (auto* claim = std::get_if<ArchiveLine::Claim>(&parsed)) archive.claims.insert(std::move(claim->name));
            const auto* beginning = std::get_if<ArchiveLine::Beginning>(&parsed);
            if (beginning != nullptr && std::exchange(isFirstLine, false)) archive.isFirstRun = !beginning->isUpdate;
        });
    }
    archive.messages = messages.take();
    for (const ArchivedMessage& message : archive.messages) {
        for (const ArchivedFile& file : message.files) archive.claims.erase(file.name);
        if (message.attachmentCount() > 0) archive.claims.erase(message.name);
    }
    if (const auto content = contentOf(folder, sumsName)) {
        archive.hasSums = true;
        Sums::Content sums = Sums::parse(content->chars());
        archive.sums = std::move(sums.files);
        archive.damagedSums = sums.damagedLines;
    }
    return archive;
}

ArchiveFiles listArchive(const fs::path& folder) {
    ArchiveFiles found;
    const std::size_t prefix = folder.native().size() + (folder.native().ends_with('/') ? 0 : 1);
    files::walk(folder, files::Hidden::include, [&](const files::Entry& entry) {
        if (entry.isFolder) return files::Walk::on;
        if (const auto status = files::status(entry)) found.emplace(entry.path.native().substr(prefix), *status);
        return files::Walk::on;
    });
    return found;
}

std::optional<Digest> digestInArchive(const fs::path& folder, const std::string& name) {
    if (!isArchiveName(name)) return std::nullopt;
    const std::size_t slash = name.find('/');
    if (slash != std::string::npos) {
        const auto parent = files::status(folder / name.substr(0, slash));
        if (!parent || !parent->isFolder) return std::nullopt;
    }
    const fs::path path = folder / name;
    if (!files::isRegularFile(path)) return std::nullopt;
    try {
        return sha256OfFile(path);
    } catch (const FileError&) {
        return std::nullopt;
    }
}

}   // namespace ostrel
