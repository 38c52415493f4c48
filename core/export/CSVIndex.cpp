#include "core/export/CSVIndex.h"

#include "platform/Text.h"

#include <cstdlib>
#include <string_view>

#include <locale.h>

namespace ostrel::CSVIndex {

namespace {

constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";   // without it Excel reads UTF-8 as the local code page
constexpr std::string_view recordEnd = "\r\n";

// Whether strtod in the C locale takes the whole value, which begins with no white space.
bool isNumber(const std::string& value) {
    static const locale_t cLocale = newlocale(LC_ALL_MASK, "C", nullptr);
    if (value.empty() || text::isWhiteSpace(text::decodeAt(value, 0).codePoint)) return false;
    char* end = nullptr;
    strtod_l(value.c_str(), &end, cLocale);
    return end == value.c_str() + value.size();
}

// A spreadsheet runs what begins like this; an apostrophe makes it text.
bool looksLikeFormula(const std::string& value) {
    constexpr std::string_view starts = "=+-@\t\r";
    return !value.empty() && starts.find(value.front()) != std::string_view::npos && !isNumber(value);
}

void appendField(std::string& out, const std::string& value) {
    const std::string_view guard = looksLikeFormula(value) ? "'" : "";
    if (value.find_first_of(",\"\r\n") == std::string::npos) {
        out.append(guard).append(value);
        return;
    }
    out.append("\"").append(guard);
    for (const char c : value) {
        if (c == '"') out += '"';
        out += c;
    }
    out += '"';
}

// Takes one record off the text (RFC 4180): its fields, as they were before they were quoted.
std::vector<std::string> takeRecord(std::string_view& text) {
    std::vector<std::string> fields(1);
    bool isQuoted = false;
    std::size_t at = 0;
    for (; at < text.size(); ++at) {
        const char c = text[at];
        if (c == '"') {
            const bool isDoubled = isQuoted && text.substr(at + 1).starts_with('"');
            if (isDoubled) {
                fields.back() += c;
                ++at;
            } else {
                isQuoted = !isQuoted;
            }
        } else if (c == ',' && !isQuoted) {
            fields.emplace_back();
        } else if (c == '\n' && !isQuoted) {
            break;
        } else if (c != '\r' || isQuoted) {
            fields.back() += c;
        }
    }
    text.remove_prefix(at < text.size() ? at + 1 : at);
    return fields;
}

}   // namespace

const std::vector<std::string>& defaultHeaders() {
    static const std::vector<std::string> headers = {
        "Date",         "From",       "To",  "Cc", "Subject", "Mailbox", "Attachments", "PDF", "Attachment folder",
        "Conversation", "Message-ID", "Note"};
    return headers;
}

std::string begin(const std::vector<std::string>& headers) {
    std::string file(byteOrderMark);
    bool isFirst = true;
    for (const std::string& title : headers) {
        if (!isFirst) file += ',';
        isFirst = false;
        appendField(file, title);
    }
    return file.append(recordEnd);
}

void append(std::string& file, const Row& row) {
    for (const std::string* field : {&row.date, &row.from, &row.to, &row.cc, &row.subject, &row.mailbox}) {
        appendField(file, *field);
        file += ',';
    }
    file += std::to_string(row.attachments);
    for (const std::string* field : {&row.pdf, &row.folder, &row.thread, &row.messageID, &row.note}) {
        file += ',';
        appendField(file, *field);
    }
    file.append(recordEnd);
}

std::vector<Names> namesIn(std::string_view file) {
    constexpr std::size_t attachmentsColumn = 6, pdfColumn = 7, folderColumn = 8, columns = 12;
    if (file.starts_with(byteOrderMark)) file.remove_prefix(byteOrderMark.size());
    if (!file.empty()) takeRecord(file);   // the titles
    std::vector<Names> rows;
    while (!file.empty()) {
        std::vector<std::string> fields = takeRecord(file);
        fields.resize(columns);
        rows.push_back(
            {std::move(fields[attachmentsColumn]), std::move(fields[pdfColumn]), std::move(fields[folderColumn])});
    }
    return rows;
}

std::string data(const std::vector<Row>& rows, const std::vector<std::string>& headers) {
    std::string file = begin(headers);
    for (const Row& row : rows) append(file, row);
    return file;
}

}   // namespace ostrel::CSVIndex
