#pragma once

#include "core/archive/Archive.h"
#include "core/export/Exporter.h"
#include "platform/Files.h"
#include "sample/EmlBuilder.h"
#include "tests/platform/Surroundings.h"

#include <filesystem>
#include <functional>
#include <map>
#include <stop_token>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

namespace ostrel {

// Writes the page itself where the PDF should be, or does what the test wants.
class FakeRenderer : public PDFRendering {
public:
    std::size_t prepareFor(std::size_t) override { return atOnce; }
    std::string renderPDF(const Page& page, const std::filesystem::path& destination,
                          const DocumentInfo& info) override {
        if (before) before(info.title);
        if (atOnce == 1) {
            infos.push_back(info);
            savedFiles.push_back(page.savedFiles);
            if (instead) instead(infos.size());
        }
        files::writeAtomically(destination, bytesOf(page.html));
        return info.title == simplifiedTitle ? "Simpler." : "";
    }
    std::string simplifiedTitle = "-";   // of the message that is printed in a simpler form
    std::size_t atOnce = 1;
    std::function<void(const std::string& title)> before;   // on as many threads
    // One at a time only:
    std::vector<DocumentInfo> infos;
    std::vector<std::vector<std::string>> savedFiles;
    std::function<void(std::size_t call)> instead;
};

// A mail folder, a destination, and runs from the one to the other.
class ExportFixture : public testing::Test {
protected:
    ExportFixture() : settings_("Export") {
        settings_.calendar = Calendar::utc();
        settings_.mailFolder = mail_.path();
        settings_.dateText = [](Instant date) { return isoUTC(date); };
        settings_.csvDate = [](Instant date) { return isoDateTime(date, Calendar::utc()); };
    }

    // A message file and its summary, minutes after an epoch of ours.
    MessageSummary put(const std::string& subject, int minutes, const EmlBuilder& message) {
        MessageSummary summary;
        summary.url = mail_ / "Messages" / (std::to_string(++count_) + ".emlx");
        files::createFolders(mail_ / "Messages");
        summary.mailboxID = std::string("INBOX.mbox");
        summary.subject = subject;
        summary.from = std::vector<MailAddress>{{"Kim", "kim@x.org"}};
        summary.date = Instant(std::chrono::minutes(28493700 + minutes));   // 2024-03-05 07:00 UTC
        summary.messageID = std::to_string(count_) + "@x";
        files::writeAtomically(summary.url, bytesOf(message.emlx(summary.date)));
        return summary;
    }
    MessageSummary put(const std::string& subject, int minutes) {
        return put(subject, minutes, EmlBuilder().header("Subject", subject).text("body of " + subject));
    }

    ExportResult run(const std::vector<MessageSummary>& messages) {
        std::vector<const MessageSummary*> list;
        for (const auto& message : messages) list.push_back(&message);
        return Exporter::run(
            list, {{"INBOX.mbox", "Inbox"}}, out_.path(), settings_, renderer_,
            [&](const ExportProgress& at) { progress_.push_back(at); }, cancel_.get_token());
    }
    // The last columns of each row: attachments, PDF, folder, conversation, Message-ID, note.
    static std::vector<std::string> indexTails(const std::filesystem::path& folder) {
        const Bytes bytes = files::readWhole(folder / "index.csv");
        std::string_view rest = bytes.chars();
        std::vector<std::string> tails;
        while (!rest.empty()) {
            const std::size_t end = rest.find("\r\n");
            const std::string_view line = rest.substr(0, end);
            const std::size_t mailbox = line.find(",Inbox,");
            if (mailbox != std::string_view::npos) tails.emplace_back(line.substr(mailbox + 7));
            rest.remove_prefix(end + 2);
        }
        return tails;
    }
    // Without the files that every export has about itself.
    static std::vector<std::string> namesIn(const std::filesystem::path& folder) {
        std::vector<std::string> names;
        for (const std::filesystem::path& name : files::list(folder)) {
            if (name != Archive::sumsName && name != Archive::messagesName) names.push_back(name);
        }
        return names;
    }
    // Every file below the folder with the digest of its content.
    static std::map<std::string, std::string> everything(const std::filesystem::path& folder) {
        std::map<std::string, std::string> all;
        for (const auto& entry : std::filesystem::recursive_directory_iterator(folder)) {
            const std::string name = entry.path().lexically_relative(folder);
            all[name] =
                entry.is_regular_file() && !entry.is_symlink() ? hexOf(sha256OfFile(entry.path())) : std::string();
        }
        return all;
    }
    static std::string content(const std::filesystem::path& file) {
        return std::string(files::readWhole(file).chars());
    }

    ScratchFolder mail_, out_;
    ExportSettings settings_;
    FakeRenderer renderer_;
    std::vector<ExportProgress> progress_;
    std::stop_source cancel_;
    int count_ = 0;
};

}   // namespace ostrel
