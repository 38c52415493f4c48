// Messages made to be slow, to nest, or to end anywhere. Every input here takes minutes or all memory when a loop over
// it is quadratic; the test runner's time limit is the check.

#include "core/message/EncodedWords.h"
#include "core/message/MailMessage.h"
#include "core/message/MessageIDs.h"
#include "core/message/TransferEncoding.h"

#include <algorithm>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace ostrel {
namespace {

constexpr std::size_t megabyte = 1 << 20;

std::string repeated(std::string_view piece, std::size_t sizeBytes) {
    std::string result;
    result.reserve(sizeBytes + piece.size());
    while (result.size() < sizeBytes) result += piece;
    return result;
}

MailMessage read(std::string message) {
    return MailMessage::make(MIMEPart::parse(Bytes(std::move(message))), false, {});
}

TEST(HostileMessageTest, HeaderBlocks) {
    EXPECT_EQ(Headers::parse(bytesOf(repeated("X: a\n", 2 * megabyte))).fields.size(), 2 * megabyte / 5 + 1);
    const auto folded = Headers::parse(bytesOf("X:" + repeated("\n a", 3 * megabyte)));
    ASSERT_EQ(folded.fields.size(), 1u);
    EXPECT_EQ(folded.fields[0].value.size(), 2 * megabyte - 1);
    EXPECT_EQ(Headers::parse(bytesOf("X: a" + repeated("\n ", 4 * megabyte))).fields[0].value, "a");
    EXPECT_EQ(Headers::parse(bytesOf(repeated(":", 4 * megabyte))).fields.size(), 0u);
    EXPECT_EQ(Headers::parse(bytesOf(repeated("x", 4 * megabyte) + ": y")).fields.size(), 1u);
    const auto splitAt = splitHeaderAndBody(bytesOf(repeated("\r\n\r", 4 * megabyte)));
    EXPECT_EQ(splitAt.headerSize, 0u);
    EXPECT_EQ(splitHeaderAndBody(bytesOf(repeated("a\n\r", 4 * megabyte))).bodyStart, 4 * megabyte + 2);
}

TEST(HostileMessageTest, EncodedWordsThatDoNotEnd) {
    for (const std::string piece :
         {"=?", "=?a?Q?.", "=?a?q?b", "=?\xC3\xA4?q?\xC3\xA4", "=?aaaaaaaaaaaaaaaaaaaaaaaaaaaa", "=", "=?a?b? \t"}) {
        const auto text = repeated(piece, megabyte);
        EXPECT_TRUE(EncodedWords::decode(text) == text) << piece;
    }
    const auto lateCharacter = repeated("=?a?q?.", megabyte) + "\xC3\xA4?=";
    EXPECT_TRUE(EncodedWords::decode(lateCharacter) == lateCharacter);
    EXPECT_EQ(EncodedWords::decode(repeated("=?a?q?x?= ", 5 * megabyte)).size(), megabyte / 2 + 1);
}

TEST(HostileMessageTest, Parameters) {
    std::string many = "text/plain", sections = "text/plain";
    for (int i = 0; i < 200'000; ++i) {
        many += ";p" + std::to_string(i) + "=x";
        sections += ";p*" + std::to_string(199'999 - i) + "*=%41";
    }
    EXPECT_EQ(HeaderParameters::parse(many).params.size(), 200'000u);
    EXPECT_EQ(HeaderParameters::parse(sections).param("p")->size(), 200'000u);
    EXPECT_EQ(HeaderParameters::parse("x;a=\"" + repeated("\\", 4 * megabyte) + "\"").params.size(), 1u);
    EXPECT_EQ(HeaderParameters::parse("x;a*=" + repeated("%", 4 * megabyte)).param("a")->size(), 4 * megabyte);
    EXPECT_TRUE(HeaderParameters::parse(repeated(";", 4 * megabyte)).params.empty());
}

TEST(HostileMessageTest, TransferEncodings) {
    using enum TransferEncoding::Underscore;
    for (const std::string piece : {"=", "= ", "=\t \t ", "=4", "=\r", "= \r\r"}) {
        const auto text = repeated(piece, 4 * megabyte);
        EXPECT_LE(TransferEncoding::quotedPrintable(bytesOf(text), literal).size(), text.size()) << piece;
    }
    EXPECT_EQ(TransferEncoding::quotedPrintable(bytesOf("=" + repeated(" ", 4 * megabyte)), literal).size(),
              4 * megabyte + 1);
    EXPECT_EQ(TransferEncoding::base64(bytesOf(repeated("\n", 4 * megabyte))), "");
}

TEST(HostileMessageTest, ManyParts) {
    std::string parts;
    for (int i = 0; i < 100'000; ++i) parts += "--b\nContent-Type: a/b\n\nx\n";
    EXPECT_EQ(read("Content-Type: multipart/mixed; boundary=b\n\n" + parts).attachments.size(), 100'000u);
    EXPECT_EQ(read("Content-Type: multipart/mixed; boundary=b\n\n" + repeated("\n--a\n", 4 * megabyte)).problems.size(),
              1u);
}

// At each limit nothing is missing; beyond it there is no more than the limit allows, and the message says so.
TEST(HostileMessageTest, PartsFieldsAndParametersHaveLimitsForTheWholeMessage) {
    const std::string head = "Content-Type: multipart/mixed; boundary=b\n\n", part = "--b\n\nx\n";
    const auto parts = [&](std::size_t count) { return repeated(part, count * part.size()); };
    const auto fields = [](std::size_t count) { return repeated("a:\n", 3 * count); };
    const auto parameters = [](std::size_t count) {
        std::string value = "Content-Type: multipart/mixed; boundary=b";
        for (std::size_t i = 1; i < count; ++i) value += ";" + std::to_string(i) + "=";
        return value + "\n\n";
    };
    constexpr auto partLimit = MIMEPart::partLimit, fieldLimit = Headers::fieldLimit,
                   parameterLimit = HeaderParameters::parameterLimit;
    const struct {
        const char* why;
        std::string message;
        bool isBeyond;
        std::size_t children, fields, parameters;   // of the root
    } rows[] = {
        {"as many parts as may be", head + parts(partLimit), false, partLimit, 1, 1},
        {"closed", head + parts(partLimit) + "--b--\n", false, partLimit, 1, 1},
        {"one part more", head + parts(partLimit + 1), true, partLimit, 1, 1},
        {"nothing but delimiters", head + repeated("--b\n", 8 * megabyte), true, partLimit, 1, 1},
        {"parts within a part",
         head + "--b\n" + "Content-Type: multipart/mixed; boundary=c\n\n" + repeated("--c\n\nx\n", 7 * partLimit), true,
         1, 1, 1},
        {"as many fields as may be", fields(fieldLimit - 1) + head, false, 0, fieldLimit, 1},
        {"one field more", fields(fieldLimit) + head, true, 0, fieldLimit, 0},
        {"fields of many parts", head + "--b\n" + fields(fieldLimit / 2) + "\n--b\n" + fields(fieldLimit / 2) + "\n",
         true, 2, 1, 1},
        {"as many parameters as may be", parameters(parameterLimit), false, 0, 1, parameterLimit},
        {"one parameter more", parameters(parameterLimit + 1), true, 0, 1, parameterLimit},
        {"parameters of parts", parameters(parameterLimit / 2) + "--b\n" + parameters(parameterLimit / 2 + 1) + "--b--",
         true, 1, 1, parameterLimit / 2},
    };
    for (const auto& row : rows) {
        const auto root = MIMEPart::parse(Bytes(row.message));
        EXPECT_EQ(root.isBeyondLimits, row.isBeyond) << row.why;
        EXPECT_EQ(root.children.size(), row.children) << row.why;
        EXPECT_EQ(root.headers.fields.size(), row.fields) << row.why;
        EXPECT_EQ(root.contentType.params.size(), row.parameters) << row.why;
        const auto problems = MailMessage::make(root, false, {}).problems;
        EXPECT_EQ(std::ranges::count(problems, problem::tooManyParts), row.isBeyond) << row.why;
    }
    const auto rest = MIMEPart::parse(Bytes(head + parts(partLimit + 2))).children.back();
    EXPECT_EQ(rest.body.chars(), "x\n" + part + part) << "the last part holds what is beyond";
}

TEST(HostileMessageTest, ListsOfAddressesAndIdentifiersHaveLimits) {
    constexpr auto most = MailAddress::listLimit, maxIDs = MessageIDs::listLimit;
    const auto repeatedTimes = [](std::string_view piece, std::size_t count) {
        return repeated(piece, piece.size() * count);
    };
    EXPECT_EQ(MailAddress::list(repeatedTimes("a@b,", most - 1)).size(), most - 1);
    for (const std::string piece : {"a@b,", "<a>"})
        EXPECT_EQ(MailAddress::list(repeatedTimes(piece, most + 1)).size(), most) << piece;
    const auto words = repeatedTimes("a ", MailAddress::pieceLimit - 1);
    EXPECT_EQ(MailAddress::list(words + "b").front().name, words + "b");
    for (const std::string piece : {"@", "a ", "<a", "<@a,", "a:"})
        EXPECT_LE(MailAddress::list(repeated(piece, 8 * megabyte)).front().name.size(), 2 * MailAddress::pieceLimit);
    EXPECT_EQ(MessageIDs::list(repeatedTimes("<a@b>", maxIDs + 1)).size(), maxIDs);

    const auto problems = [](const std::string& field) { return read(field + "\n\n").problems; };
    const std::vector<std::string> none, tooMany = {problem::tooManyAddresses};
    EXPECT_EQ(problems("To: " + repeatedTimes("a@b,", most - 1)), none);
    EXPECT_EQ(problems("To: " + repeatedTimes("a@b,", most + 1)), tooMany);
    EXPECT_EQ(problems("References: " + repeatedTimes("<a@b>", maxIDs + 1)), tooMany);
}

TEST(HostileMessageTest, BoundariesWithLineFeeds) {
    std::string boundary, body = "--\n";
    for (int i = 0; i < 200'000; ++i) {
        boundary += "%0A--";
        body += "--\n--\n--\n";
    }
    const auto root = MIMEPart::parse(Bytes("Content-Type: multipart/mixed; boundary*=" + boundary + "x\n\n" + body));
    EXPECT_TRUE(root.children.empty());
}

TEST(HostileMessageTest, NestedAlternativesAndDigests) {
    for (const std::string type : {"alternative", "digest", "related"}) {
        std::string message;
        for (int i = 0; i < 1000; ++i) {
            const auto boundary = "b" + std::to_string(i) + "-";
            message += "Content-Type: multipart/" + type + "; boundary=" + boundary + "\n\n--" + boundary +
                       "\nContent-Type: image/png\n\n--" + boundary + "\n";
        }
        EXPECT_EQ(read(message + repeated("leaf\n", megabyte)).problems.size(), 1u) << type;
    }
}

TEST(HostileMessageTest, InlineImagesThatNameEachOther) {
    std::string html = "Content-Type: text/html\n\n" + repeated("cid:", megabyte) + "\n", images;
    std::string id = "cid:cid:cid:";
    for (int i = 0; i < 20'000; ++i) {
        images += "--b\nContent-Type: image/png\nContent-ID: <" + id + std::to_string(i) + ">\n\nx\n";
        if (i < 100) id += "cid:";
    }
    images += "--b\nContent-Type: image/png\nContent-ID: <" + repeated("cid:", megabyte / 2) + ">\n\nx\n";
    const auto message = read("Content-Type: multipart/mixed; boundary=b\n\n--b\n" + html + images);
    EXPECT_EQ(message.attachments.size(), 20'000u);
    EXPECT_EQ(message.inlineImages.size(), 1u);
}

}   // namespace
}   // namespace ostrel
