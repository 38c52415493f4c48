#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

// The index file of an export, for a spreadsheet (RFC 4180; UTF-8 with byte-order mark, CR LF).
namespace ostrel::CSVIndex {

struct Row {
    std::string date, from, to, cc, subject, mailbox;
    std::size_t attachments = 0;   // files saved
    std::string pdf, folder, thread, messageID, note;
    bool operator==(const Row&) const = default;
};

// The twelve column titles, in order.
const std::vector<std::string>& defaultHeaders();

// A file that has titles and no rows yet, and one row more at its end. A field that a spreadsheet would run as a
// formula gets an apostrophe in front.
std::string begin(const std::vector<std::string>& headers);
void append(std::string& file, const Row& row);

// What the rows of a file name; other fields are passed over. Never fails: rows that have not twelve fields come back
// as they are, the missing ones empty.
struct Names {
    std::string attachments, pdf, folder;
    bool operator==(const Names&) const = default;
};
std::vector<Names> namesIn(std::string_view file);

// The whole file.
std::string data(const std::vector<Row>& rows, const std::vector<std::string>& headers);

}   // namespace ostrel::CSVIndex
