#include "core/export/CSVIndex.h"

#include <clocale>

#include <gtest/gtest.h>

namespace ostrel {
namespace {

// One value as it stands in the file.
std::string encoded(const std::string& value) {
    const std::string file = CSVIndex::data({}, {value});
    return file.substr(3, file.size() - 5);
}

TEST(CSVIndexTest, FieldsAreQuotedAndNeverFormulas) {
    std::setlocale(LC_ALL, "de_DE.UTF-8");   // its decimal comma must not matter; absent locales change nothing
    const struct {
        const char* why;
        std::string value, expected;
    } rows[] = {
        {"plain", "a b", "a b"},
        {"empty", "", ""},
        {"comma", "Re: a, b", "\"Re: a, b\""},
        {"quotes", "Say \"hi\"", "\"Say \"\"hi\"\"\""},
        {"line breaks", "a\r\nb", "\"a\r\nb\""},
        {"formula", "=SUM(A1)", "'=SUM(A1)"},
        {"formula that needs quotes", "=A1,\"x\"", "\"'=A1,\"\"x\"\"\""},
        {"at sign", "@home", "'@home"},
        {"tab in front", "\tx", "'\tx"},
        {"return in front", "\rx", "\"'\rx\""},
        {"line feed in front is no formula", "\nx", "\"\nx\""},
        {"hyphen", "-x", "'-x"},
        {"hyphen alone", "-", "'-"},
        {"numbers", "-12", "-12"},
        {"decimal", "+3.5", "+3.5"},
        {"exponent", "-1e5", "-1e5"},
        {"decimal comma is no number here", "-3,5", "\"'-3,5\""},
        {"hexadecimal", "+0x1p3", "+0x1p3"},
        {"infinity", "-inf", "-inf"},
        {"number with a tail", "-12 x", "'-12 x"},
        {"telephone number", "+41 44 555", "'+41 44 555"},
        {"number and NUL", std::string("-1\0", 3), std::string("'-1\0", 4)},
        {"guard in the middle is harmless", "a=b", "a=b"},
    };
    for (const auto& row : rows) EXPECT_EQ(encoded(row.value), row.expected) << row.why;
    std::setlocale(LC_ALL, "C");
}

TEST(CSVIndexTest, TheWholeFile) {
    CSVIndex::Row row;
    row.date = "2024-03-05 09:07:42";
    row.from = "Kim <kim@x.org>";
    row.subject = "Grüße";
    row.attachments = 2;
    row.pdf = "a.pdf";
    row.folder = "a";
    row.note = "-";
    EXPECT_EQ(CSVIndex::data({row}, CSVIndex::defaultHeaders()),
              "\xEF\xBB\xBF"
              "Date,From,To,Cc,Subject,Mailbox,Attachments,PDF,Attachment folder,Conversation,Message-ID,Note\r\n"
              "2024-03-05 09:07:42,Kim <kim@x.org>,,,Grüße,,2,a.pdf,a,,,'-\r\n");
}

}   // namespace
}   // namespace ostrel
