// Messages made to be slow, to nest, or to end anywhere. Every input here takes minutes or all memory when a loop over
// it is quadratic; the test runner's time limit is the check.

#include "core/message/EncodedWords.h"
#include "core/message/MailMessage.h"
#include "core/message/TransferEncoding.h"

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
    EXPECT_EQ(read("Content-Type: multipart/mixed; boundary=b\n\n" + repeated("--b\n", megabyte)).textBody->size(),
              2 * (megabyte / 4 - 1));
    EXPECT_EQ(read("Content-Type: multipart/mixed; boundary=b\n\n" + repeated("\n--a\n", 4 * megabyte)).problems.size(),
              1u);
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

// Everything a parser meets at once; each prefix of it, and each with one byte changed, is a message too.
TEST(HostileMessageTest, EveryPrefixIsAMessage) {
    const std::string message =
        "Subject: =?utf-8?q?caf=C3=A9?= =?iso-8859-1?b?6Q==?=\r\n\tfolded\r\nFrom: \"a\\\"b\" <a@b>\r\n"
        "Content-Type: multipart/mixed; x*0*=utf-8''%C3%A9; x*1=\"y\\\"\"; "
        "boundary=\"=_b\"\r\n\r\npreamble\r\n--=_b\r\n"
        "Content-Type: multipart/alternative; boundary=\"=_b2\"\r\n\r\n--=_b2\r\n\r\nplain\r\n--=_b2\r\n"
        "Content-Type: text/html; charset=\"iso-8859-1\"\r\nContent-Transfer-Encoding: quoted-printable\r\n\r\n"
        "<img src=3D\"cid:i=40x\">=E9= \r\n\r\n--=_b2--\r\n--=_b\r\nContent-Type: image/png\r\nContent-ID: <I@x>\r\n"
        "Content-Transfer-Encoding: base64\r\n\r\niVBORw0K\r\nGgo=\r\n--=_b\r\nContent-Type: message/rfc822\r\n\r\n"
        "Subject: inner\r\n\r\nx\r\n--=_b--\r\nepilogue";
    const auto checked = [&](const std::string& bytes, std::size_t at) {
        const auto root = MIMEPart::parse(Bytes(bytes));
        EXPECT_EQ(root, MIMEPart::parse(Bytes(bytes))) << at;
        const auto result = MailMessage::make(root, false, {});
        EXPECT_LE(result.textBody.value_or("").size() + result.htmlBody.value_or("").size(), 3 * bytes.size() + 20)
            << at;
        for (const auto& attachment : result.attachments) {
            EXPECT_FALSE(attachment.filename.empty()) << at;
            EXPECT_LE(attachment.size(), bytes.size()) << at;
        }
    };
    for (std::size_t length = 0; length <= message.size(); ++length) checked(message.substr(0, length), length);
    for (std::size_t at = 0; at < message.size(); ++at) {
        for (const char c : {'\n', '\0', '=', '"', '\xFF'}) {
            auto changed = message;
            changed[at] = c;
            checked(changed, at);
        }
    }
}

}   // namespace
}   // namespace ostrel
