#pragma once

#include "platform/Time.h"
#include "sample/EmlBuilder.h"

#include <cstddef>
#include <filesystem>
#include <map>
#include <string>
#include <string_view>

namespace ostrel {

// Puts message files where Apple Mail would:
//
//   V10/<account>/<Mailbox>.mbox/<store id>/Data/3/2/Messages/23017.emlx
//                                               /Attachments/23017/2/report.pdf
//
// Numbers rise over the whole store; a file's thousands, last digit first, name its folders.
class SampleStore {
public:
    explicit SampleStore(std::filesystem::path root);

    // mailbox is the path below V10 with its ".mbox" endings: "Mailboxes/Archive.mbox". Files take the date received as
    // their modification date. All throw FileError.
    void add(std::string_view mailbox, const EmlBuilder& message, Instant received);
    // A partial message; stored are its attachments kept outside, by part number and then file name.
    void addPartial(std::string_view mailbox, const EmlBuilder& message, Instant received,
                    const std::map<std::string, std::pair<std::string, std::string>>& stored);
    // A message file with this content, whole or not.
    void addFile(std::string_view mailbox, std::string_view content, Instant received);
    // Any other file of the store, path below V10.
    void addOther(std::string_view path, std::string_view content);

private:
    std::filesystem::path nextFile(std::string_view mailbox, std::string_view ending);

    std::filesystem::path root_;
    std::size_t number_ = 1000;   // of the last message written
};

}   // namespace ostrel
