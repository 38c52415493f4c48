#pragma once

#include "core/message/MIMEPart.h"
#include "core/message/MailAttachment.h"
#include "core/message/StoredFiles.h"

#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace ostrel {

// Walks a MIME tree once and decides what is text, what is HTML, what may be an inline image and what is an attachment.
struct BodyCollector {
    bool partial = false;
    std::optional<std::filesystem::path> attachmentsFolder;
    std::vector<std::string> texts;
    std::vector<std::string> htmls;
    std::vector<MailAttachment> files;
    std::vector<MailAttachment> inlineCandidates;   // parts with a Content-ID, should the HTML refer to them
    std::vector<std::string> problems;

    void collect(const MIMEPart& part);
    // Makes a leaf part an attachment; may add "attachment-missing" to problems.
    MailAttachment attachment(const MIMEPart& part);
    // The stored file of a part: its folder's file of that name, else the folder's only file, else the first of that
    // name anywhere below. Only regular files that lie in the attachments folder count.
    static std::optional<std::filesystem::path> locate(const std::optional<std::filesystem::path>& folder,
                                                       const std::string& partNumber, const std::string& filename);

private:
    void collectLeaf(const MIMEPart& part, std::string_view type);
    void collectUndivided(const MIMEPart& part);
    void collectAlternative(const MIMEPart& part);
    void collectRelated(const MIMEPart& part);

    std::string nameFor(const std::string& type, const std::string& partNumber);

    std::optional<StoredFiles> storedFiles_;   // of attachmentsFolder, from the first look-up on
    // By MIME type. Looking one up reads files, so each is looked up once.
    std::map<std::string, std::string> extensions_ = {{"text/calendar", "ics"}};
};

}   // namespace ostrel
