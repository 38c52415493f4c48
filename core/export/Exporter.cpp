#include "core/export/Exporter.h"

#include "core/export/ExportRun.h"
#include "core/export/FileNamer.h"
#include "platform/FolderLock.h"
#include "platform/LocaleFormat.h"

#include <algorithm>
#include <functional>
#include <utility>

namespace ostrel {

namespace {

namespace fs = std::filesystem;

std::vector<std::string> namesIn(const fs::path& folder) {
    std::vector<std::string> names;
    try {
        for (const fs::path& name : files::list(folder)) names.push_back(displayText(name));
    } catch (const FileError&) {
        // Nothing can be in the way, then; creating the folder tells what is wrong.
    }
    return names;
}

fs::path makeExportFolder(const fs::path& destination, const std::string& wishedName) {
    FileNamer names(namesIn(destination));
    fs::path folder;
    do folder = destination / names.unique(wishedName, "");
    while (files::exists(folder));   // its names could not be listed, or the disk takes two names for one
    files::createFolders(folder);
    return folder;
}

}   // namespace

ExportSettings::ExportSettings(std::string folderName_) : folderName(std::move(folderName_)) {
    const Calendar zone = calendar;
    dateText = [zone](Instant date) { return locale::dateAndTime(date, locale::DateStyle::abbreviated, zone); };
    csvDate = [zone](Instant date) { return isoDateTime(date, zone); };
}

std::vector<ExportResult::Cause> ExportResult::causes() const {
    std::map<std::string, std::size_t> counts;
    for (const Failure& failure : failed) ++counts[failure.cause.empty() ? failure.reason : failure.cause];
    std::vector<Cause> causes;
    for (const auto& [text, messages] : counts) causes.push_back({text, messages});
    std::ranges::stable_sort(causes, std::ranges::greater(), &Cause::messages);
    return causes;
}

ExportResult Exporter::run(std::vector<const MessageSummary*> messages,
                           const std::map<std::string, std::string>& mailboxNames, const fs::path& into,
                           const ExportSettings& settings, PDFRendering& renderer,
                           const std::function<void(const ExportProgress&)>& progress, std::stop_token cancel) {
    const fs::path folder = makeExportFolder(into, settings.folderName);
    const auto lock = files::FolderLock::take(folder);   // the folder is new: nobody else has it
    std::ranges::stable_sort(messages, {}, &MessageSummary::date);
    std::vector<ExportRun::Item> items;
    items.reserve(messages.size());
    for (const MessageSummary* message : messages) {
        const auto name = mailboxNames.find(message->mailboxID);
        items.push_back({message, name == mailboxNames.end() ? std::string() : name->second});
    }
    return ExportRun({folder}, std::move(items), settings).run(&renderer, progress, cancel);
}

}   // namespace ostrel
