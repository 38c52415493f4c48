#include "core/message/BodyCollector.h"
#include "core/message/MailMessage.h"
#include "platform/Files.h"

#include <filesystem>
#include <fstream>

#include <gtest/gtest.h>

namespace ostrel {
namespace {

using Texts = std::vector<std::string>;

MailMessage read(const std::string& message) { return MailMessage::make(MIMEPart::parse(Bytes(message)), false, {}); }

std::string leaf(const std::string& type, const std::string& body, const std::string& moreHeaders = {}) {
    return "Content-Type: " + type + "\n" + moreHeaders + "\n" + body;
}

std::string image(const std::string& id) { return leaf("image/png", "PNG", "Content-ID: <" + id + ">\n"); }

// A multipart around parts; the boundary must not begin that of an inner one.
std::string multipart(const std::string& subtype, const std::string& boundary, const Texts& parts) {
    auto result = "Content-Type: multipart/" + subtype + "; boundary=" + boundary + "\n\n";
    for (const auto& part : parts) result += "--" + boundary + "\n" + part + "\n";
    return result + "--" + boundary + "--\n";
}

const std::string attached = "Content-Disposition: attachment\n";
const std::string plain = leaf("text/plain", "plain"), html = leaf("text/html", "<p>html");

Texts namesOf(const std::vector<MailAttachment>& attachments) {
    Texts names;
    for (const auto& attachment : attachments) names.push_back(attachment.filename);
    return names;
}

Texts idsOf(const MailMessage& message) {
    Texts ids;
    for (const auto& [id, attachment] : message.inlineImages) ids.push_back(id);
    return ids;
}

TEST(MailMessageTest, PartsAreTextHTMLInlineOrAttached) {
    const auto related = multipart("related", "r", {leaf("text/html", "<img src=CID:Pic@x>"), image("pic@X")});
    const struct {
        const char* why;
        std::string message;
        std::optional<std::string> text, html;
        Texts attachments, inlineImages;
        Texts problems = {};
    } rows[] = {
        {"bare body", "\nhello", "hello", {}, {}, {}},
        {"nothing at all", "", "", {}, {}, {}},
        {"enriched text is kept as it is", leaf("text/enriched", "<b>x"), "<b>x", {}, {}, {}},
        {"other text is a file", leaf("text/csv", "a,b"), {}, {}, {"Attachment 1.csv"}, {}},
        {"texts are joined by an empty line",
         multipart("mixed", "m", {plain, html, plain, html}),
         "plain\n\nplain",
         "<p>html\n<hr>\n<p>html",
         {},
         {}},
        {"an empty text counts", multipart("mixed", "m", {leaf("text/plain", ""), plain}), "\n\nplain", {}, {}, {}},
        {"named plain text is a file", leaf("text/plain; name=a.txt", "x"), {}, {}, {"a.txt"}, {}},
        {"named HTML is a body", leaf("text/html; name=a.html", "x"), {}, "x", {}, {}},
        {"attached HTML is a file",
         leaf("text/html", "x", "Content-Disposition: Attachment; filename=a.html\n"),
         {},
         {},
         {"a.html"},
         {}},
        {"alternative: HTML, and plain beside it",
         multipart("alternative", "a", {plain, html}),
         "plain",
         "<p>html",
         {},
         {}},
        {"alternative: the last of each kind",
         multipart("alternative", "a", {plain, html, leaf("text/plain", "2"), leaf("text/html", "2"), image("x")}),
         "2",
         "2",
         {},
         {}},
        {"alternative: attached HTML is not the choice",
         multipart("alternative", "a", {plain, leaf("text/html", "x", attached)}),
         "plain",
         {},
         {},
         {}},
        {"alternative: nothing readable, so the last",
         multipart("alternative", "a", {image("x"), leaf("text/enriched", "e")}),
         "e",
         {},
         {},
         {}},
        {"alternative: HTML inside a related",
         multipart("alternative", "a", {plain, related}),
         "plain",
         "<img src=CID:Pic@x>",
         {},
         {"pic@X"}},
        {"alternative: a multipart without HTML is passed over",
         multipart("alternative", "a", {html, multipart("mixed", "m", {plain, image("x")})}),
         {},
         "<p>html",
         {},
         {}},
        {"alternative: HTML below a multipart brings what is beside it",
         multipart("alternative", "a", {multipart("mixed", "m", {leaf("text/plain", "in"), html}), plain}),
         "in\n\nplain",
         "<p>html",
         {},
         {}},
        {"related: not referred to",
         multipart("related", "r", {html, image("x")}),
         {},
         "<p>html",
         {"Attachment 2.png"},
         {}},
        {"related: any type with a Content-ID may be referred to",
         multipart("related", "r", {leaf("text/html", "cid:s@x"), leaf("text/css", "c", "Content-ID: s@x\n")}),
         {},
         "cid:s@x",
         {},
         {"s@x"}},
        {"related: even an attached one",
         multipart("related", "r", {leaf("text/html", "cid:s"), leaf("image/gif", "g", "Content-ID: s\n" + attached)}),
         {},
         "cid:s",
         {},
         {"s"}},
        {"related: text beside the root is a resource",
         multipart("related", "r", {html, plain}),
         {},
         "<p>html",
         {"Attachment 2.txt"},
         {}},
        {"related: start names the root",
         multipart("related; start=\"<<b>\"", "r", {image("a"), leaf("text/html", "cid:A", "Content-ID: <b>\n")}),
         {},
         "cid:A",
         {},
         {"a"}},
        {"related: start is compared exactly, else the first",
         multipart("related; start=\"<X>\"", "r", {html, image("x")}),
         {},
         "<p>html",
         {"Attachment 2.png"},
         {}},
        {"related: an empty start matches no part without Content-ID",
         multipart("related; start=\"\"", "r", {image("a"), html}),
         {},
         {},
         {"Attachment 2.html", "Attachment 1.png"},
         {}},
        {"image that the HTML does not name comes last",
         multipart("mixed", "m", {image("x"), leaf("image/png", "P"), html}),
         {},
         "<p>html",
         {"Attachment 2.png", "Attachment 1.png"},
         {}},
        {"attached image is a file although named",
         multipart("mixed", "m", {leaf("text/html", "cid:x"), leaf("image/png", "P", "Content-ID: x\n" + attached)}),
         {},
         "cid:x",
         {"Attachment 2.png"},
         {}},
        {"outside related only images are inline",
         multipart("mixed", "m", {leaf("text/html", "cid:x"), leaf("audio/wav", "W", "Content-ID: x\n")}),
         {},
         "cid:x",
         {"Attachment 2.wav"},
         {}},
        {"a Content-ID that begins another one counts as referred to",
         multipart("mixed", "m", {leaf("text/html", "cid:xy"), image("x"), image("xy"), image("y")}),
         {},
         "cid:xy",
         {"Attachment 4.png"},
         {"x", "xy"}},
        {"letter case is Unicode's: long s and Kelvin sign",
         multipart("mixed", "m", {leaf("text/html", "cid:KS"), image("\xE2\x84\xAA\xC5\xBF")}),
         {},
         "cid:KS",
         {},
         {"\xE2\x84\xAA\xC5\xBF"}},
        {"multipart without boundary",
         "Content-Type: multipart/mixed; charset=latin1\n\n \xE9\n\t",
         "é",
         {},
         {},
         {},
         {"multipart-without-parts"}},
        {"multipart without boundary and text",
         "Content-Type: multipart/alternative\n\n \n",
         {},
         {},
         {},
         {},
         {"multipart-without-parts"}},
        {"attached message",
         multipart("digest", "d", {"\nSubject:\xC2\xA0=?utf-8?q?caf=C3=A9?= \n\nx", "\nTo: x\n\n"}),
         {},
         {},
         {"café.eml", "Message.eml"},
         {}},
        {"calendar", leaf("text/calendar; method=REQUEST", "BEGIN"), {}, {}, {"Attachment 1.ics"}, {}},
        {"unknown type", leaf("x-no/such", "x"), {}, {}, {"Attachment 1.bin"}, {}},
    };
    for (const auto& row : rows) {
        const auto message = read(row.message);
        EXPECT_EQ(message.textBody, row.text) << row.why;
        EXPECT_EQ(message.htmlBody, row.html) << row.why;
        EXPECT_EQ(namesOf(message.attachments), row.attachments) << row.why;
        EXPECT_EQ(idsOf(message), row.inlineImages) << row.why;
        EXPECT_EQ(message.problems, row.problems) << row.why;
    }
}

TEST(MailMessageTest, AttachmentsAreCompleteRecords) {
    const auto message = read(multipart(
        "mixed", "m",
        {leaf("image/PNG; name*=%20a/b.png%0A", "YQ", "Content-ID: <i@d>\nContent-Transfer-Encoding: base64\n")}));
    const MailAttachment expected{"a/b.png", "image/png", "i@d", "1", Bytes(std::string("a"))};
    EXPECT_EQ(message.attachments, std::vector{expected});
    EXPECT_EQ(message.attachments[0].size(), 1u);
    EXPECT_EQ(message.attachments[0].data(), Bytes(std::string("a")));
}

TEST(MailMessageTest, ALaterInlineImageReplacesAnEarlier) {
    const auto message =
        read(multipart("related", "r",
                       {leaf("text/html", "cid:x"), leaf("image/png", "1", "Content-ID: x\n"),
                        leaf("image/png", "2", "Content-ID: x\n"), leaf("image/png", "3", "Content-ID: X\n")}));
    ASSERT_EQ(idsOf(message), (Texts{"X", "x"}));
    EXPECT_EQ(message.inlineImages.at("x").partNumber, "3");
    EXPECT_TRUE(message.attachments.empty());
}

TEST(MailMessageTest, HeaderFieldsAreRead) {
    const auto message = read(
        "Subject: =?utf-8?q?_a=0A?=\nFrom: Kim <k@x>\nTo: a@x, b@x\nCC: c@x\nReply-To: r@x\n"
        "Date: Tue, 5 Mar 2024 10:00:00 +0100\nMessage-ID: <1@x> <2@x>\nIn-Reply-To: <0@x>\n"
        "References: <a@x>\n <b@x>\n\n");
    EXPECT_EQ(message.subject, "a");
    EXPECT_EQ(message.from, (std::vector<MailAddress>{{"Kim", "k@x"}}));
    EXPECT_EQ(message.to.size(), 2u);
    EXPECT_EQ(message.cc.size(), 1u);
    EXPECT_EQ(message.replyTo.size(), 1u);
    ASSERT_TRUE(message.date);
    EXPECT_EQ(isoUTC(*message.date), "2024-03-05T09:00:00Z");
    EXPECT_EQ(message.messageID, "1@x");
    EXPECT_EQ(message.inReplyTo, Texts{"0@x"});
    EXPECT_EQ(message.references, (Texts{"a@x", "b@x"}));

    const auto bare = read("\n");
    EXPECT_EQ(bare.subject, "");
    EXPECT_FALSE(bare.date || bare.messageID);
    EXPECT_TRUE(bare.from.empty() && bare.to.empty() && bare.references.empty());
}

TEST(MailMessageTest, AddressesOnOneLine) {
    EXPECT_EQ(MailMessage::line({{"Kim", "k@x"}, {"", "l@x"}, {"m@x", "m@x"}, {"List", ""}, {"", ""}, {"M@x", "m@x"}}),
              "Kim <k@x>, l@x, m@x, List, , M@x <m@x>");
    EXPECT_EQ(MailMessage::line({}), "");
}

// Mail's attachments folder of one message.
class StoredFilesTest : public testing::Test {
protected:
    StoredFilesTest() {
        auto pattern = (std::filesystem::temp_directory_path() / "ostrel-stored-XXXXXX").string();
        scratch_ = mkdtemp(pattern.data());
        std::filesystem::create_directory(folder());
    }
    ~StoredFilesTest() override { std::filesystem::remove_all(scratch_); }

    std::filesystem::path folder() const { return scratch_ / "Attachments"; }
    void write(const std::filesystem::path& relative, const std::string& content = "stored") const {
        std::filesystem::create_directories((folder() / relative).parent_path());
        std::ofstream(folder() / relative) << content;
    }
    void makeFolder(const std::filesystem::path& relative) const {
        std::filesystem::create_directories(folder() / relative);
    }
    void link(const std::filesystem::path& relative, const std::filesystem::path& target) const {
        std::filesystem::create_directories((folder() / relative).parent_path());
        std::filesystem::create_symlink(target, folder() / relative);
    }
    // The path found, relative to the folder; "-" for none.
    std::string locate(const std::string& number, const std::string& name) const {
        const auto found = BodyCollector::locate(folder(), number, name);
        return found ? found->lexically_relative(folder()).string() : "-";
    }

private:
    std::filesystem::path scratch_;
};

TEST_F(StoredFilesTest, LookUp) {
    write("2/a.pdf");
    write("2/b.pdf");
    write("2/.c.pdf");
    write("3/only.pdf");
    write("3/.DS_Store");
    write("4/x.pdf");
    write("4/y.pdf");
    write("5/deep/x.pdf");
    write("5/deep/z.pdf");
    write(".hidden/h.pdf");
    makeFolder("6/x.pdf");
    makeFolder("7/folder");
    makeFolder("8");
    write("9/x.pdf/inner.pdf");
    write("9/other.pdf");
    write("../outside.pdf");
    link("10/link.pdf", "../../../outside.pdf");
    link("11", "../");
    link("12/inside.pdf", "../3/only.pdf");
    const struct {
        const char* why;
        const char *number, *name, *expected;
    } rows[] = {
        {"by name", "2", "b.pdf", "2/b.pdf"},
        {"the only one, whatever its name", "3", "a.pdf", "3/only.pdf"},
        {"two others: the name decides, anywhere", "2", "z.pdf", "5/deep/z.pdf"},
        {"the first of that name", "8", "x.pdf", "4/x.pdf"},
        {"letter case matters", "2", "A.pdf", "-"},
        {"a hidden file is not taken in its part folder but by the deep search", "2", ".c.pdf", "2/.c.pdf"},
        {"hidden folders are searched", "2", "h.pdf", ".hidden/h.pdf"},
        {"no part folder", "1.2", "inner.pdf", "9/x.pdf/inner.pdf"},
        {"a folder is no file, even of that name", "6", "x.pdf", "4/x.pdf"},
        {"a folder is no only file", "7", "none", "-"},
        {"a folder counts as an entry", "9", "none", "-"},
        {"no link leads out", "10", "link.pdf", "-"},
        {"a link inside the folder is as good as its file", "12", "inside.pdf", "12/inside.pdf"},
        {"a link is no part folder", "11", "outside.pdf", "-"},
        {"names cannot climb", "8", "../2/a.pdf", "-"},
        {"nor name folders", "8", "..", "-"},
        {"empty name", "8", "", "-"},
    };
    for (const auto& row : rows) EXPECT_EQ(locate(row.number, row.name), row.expected) << row.why;
    EXPECT_EQ(BodyCollector::locate(std::nullopt, "2", "a.pdf"), std::nullopt);
    EXPECT_EQ(BodyCollector::locate(folder() / "none", "2", "a.pdf"), std::nullopt);
    EXPECT_EQ(BodyCollector::locate(folder() / "2/a.pdf", "2", "a.pdf"), std::nullopt)
        << "a file in the folder's place";
}

TEST_F(StoredFilesTest, OnlyEmptiedPartsAreLookedUp) {
    write("2/a.pdf");
    const std::string marked = "X-Apple-Content-Length: 6\n";
    const struct {
        const char* why;
        std::string body, headers, name;
        bool isPartial;
        const char* expected;
    } rows[] = {
        {"partial message", "", "", "a.pdf", true, "file"},
        {"blank lines are empty", " \t\r\n\r\n", "", "a.pdf", true, "file"},
        {"emptied base64", "====", "Content-Transfer-Encoding: base64\n", "a.pdf", true, "file"},
        {"marked part of a whole message", "\n", marked, "a.pdf", false, "file"},
        {"neither", "\n", "", "a.pdf", false, "data"},
        {"marked, but the bytes are here", "x", marked, "a.pdf", true, "data"},
        {"no-break space is a byte like others", "\xA0", marked, "a.pdf", true, "data"},
    };
    for (const auto& row : rows) {
        const auto source = leaf("application/pdf; name=" + row.name, row.body, row.headers);
        const auto message = MailMessage::make(MIMEPart::parse(Bytes(multipart("mixed", "m", {plain, source}))),
                                               row.isPartial, folder());
        ASSERT_EQ(message.attachments.size(), 1u) << row.why;
        EXPECT_EQ(message.isPartial, row.isPartial) << row.why;
        EXPECT_TRUE(message.problems.empty()) << row.why;
        const auto& attachment = message.attachments[0];
        EXPECT_EQ(std::holds_alternative<std::filesystem::path>(attachment.source) ? "file" : "data", row.expected)
            << row.why;
        if (row.expected == std::string("file")) {
            EXPECT_EQ(attachment.size(), 6u) << row.why;
            EXPECT_EQ(attachment.data().chars(), "stored") << row.why;
        }
    }
}

TEST_F(StoredFilesTest, MissingOnesAreReportedEach) {
    const auto missing = leaf("application/pdf; name=gone.pdf", "");
    const auto message = MailMessage::make(
        MIMEPart::parse(Bytes(multipart("mixed", "m", {plain, missing, image("x"), missing, leaf("image/png", "")}))),
        true, folder());
    EXPECT_EQ(message.problems, (Texts{"attachment-missing", "attachment-missing", "attachment-missing"}));
    EXPECT_EQ(namesOf(message.attachments), (Texts{"gone.pdf", "gone.pdf", "Attachment 5.png", "Attachment 3.png"}));
    EXPECT_FALSE(message.attachments[0].isAvailable());
    EXPECT_EQ(message.attachments[0].size(), std::nullopt);
    EXPECT_THROW(message.attachments[0].data(), FileError);
    EXPECT_TRUE(message.attachments[3].isAvailable());
}

}   // namespace
}   // namespace ostrel
