#include "sample/SampleStore.h"

#include "core/mailstore/Emlx.h"
#include "platform/Files.h"

#include <cstdint>
#include <cstdio>

namespace ostrel {

namespace {

// The folder that Mail makes between a mailbox and its data carries an identifier; ours follows from the mailbox's
// name, so that two runs agree.
std::string storeIdentifier(std::string_view mailbox) {
    std::uint64_t hash = 0xcbf29ce484222325;   // FNV-1a
    for (const char c : mailbox) hash = (hash ^ static_cast<unsigned char>(c)) * 0x100000001b3;
    char text[40];
    std::snprintf(text, sizeof text, "%08X-%04X-4%03X-9%03X-%012llX", static_cast<unsigned>(hash >> 32),
                  static_cast<unsigned>(hash >> 16 & 0xFFFF), static_cast<unsigned>(hash >> 4 & 0xFFF),
                  static_cast<unsigned>(hash >> 52), static_cast<unsigned long long>(hash & 0xFFFFFFFFFFFF));
    return text;
}

void writeDated(const std::filesystem::path& file, std::string_view content, Instant date) {
    files::createFolders(file.parent_path());
    files::writeAtomically(file, bytesOf(content));
    std::filesystem::last_write_time(file, std::chrono::file_clock::from_sys(date));
}

}   // namespace

SampleStore::SampleStore(std::filesystem::path root) : root_(std::move(root)) { files::createFolders(root_); }

std::filesystem::path SampleStore::nextFile(std::string_view mailbox, std::string_view ending) {
    ++number_;
    std::filesystem::path folder = root_ / "V10" / mailbox / storeIdentifier(mailbox) / "Data";
    for (std::size_t thousands = number_ / 1000; thousands > 0; thousands /= 10) {
        folder /= std::to_string(thousands % 10);
    }
    return folder / "Messages" / (std::to_string(number_) + std::string(ending));
}

void SampleStore::add(std::string_view mailbox, const EmlBuilder& message, Instant received) {
    addFile(mailbox, message.emlx(received), received);
}

void SampleStore::addPartial(std::string_view mailbox, const EmlBuilder& message, Instant received,
                             const std::map<std::string, std::pair<std::string, std::string>>& stored) {
    const std::filesystem::path file = nextFile(mailbox, ".partial.emlx");
    writeDated(file, message.emlx(received), received);
    for (const auto& [part, content] : stored) {
        writeDated(Emlx::attachmentsFolder(file) / part / content.first, content.second, received);
    }
}

void SampleStore::addFile(std::string_view mailbox, std::string_view content, Instant received) {
    writeDated(nextFile(mailbox, ".emlx"), content, received);
}

void SampleStore::addOther(std::string_view path, std::string_view content) {
    const std::filesystem::path file = root_ / "V10" / path;
    files::createFolders(file.parent_path());
    files::writeAtomically(file, bytesOf(content));
}

}   // namespace ostrel
