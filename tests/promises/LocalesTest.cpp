// Mail reads the same in every locale. Turkish is the hard one: there "I" and "i" are no pair, so that "CONTENT-ID",
// "MULTIPART/MIXED", "<SCRIPT>" or "FILENAME" in capitals are lost to whoever asks the locale.

#include "platform/Files.h"
#include "tests/platform/Surroundings.h"
#include "tests/tools/Program.h"

#include <algorithm>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace ostrel {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view mailInCapitals =
    "FROM: \"I\xC4\xB1\" <INFO@EXAMPLE.COM>\r\n"
    "SUBJECT: =?ISO-8859-9?Q?=DDki_=FD=FEIK?=\r\n"
    "DATE: FRI, 17 APR 2026 10:00:00 +0300\r\n"
    "MESSAGE-ID: <I1@EXAMPLE.COM>\r\n"
    "IN-REPLY-TO: <I0@EXAMPLE.COM>\r\n"
    "MIME-VERSION: 1.0\r\n"
    "CONTENT-TYPE: MULTIPART/MIXED; BOUNDARY=I\r\n\r\n"
    "--I\r\nCONTENT-TYPE: TEXT/HTML; CHARSET=WINDOWS-1254\r\n\r\n"
    "<TITLE>gone</TITLE><SCRIPT>gone()</SCRIPT><DIV ONCLICK=\"gone()\">kalan \xFD</DIV><IFRAME SRC=gone></IFRAME>"
    "<IMG SRC=\"CID:PIC@I\"><IMG SRC=\"HTTPS://EXAMPLE.COM/I.GIF\" WIDTH=12><A HREF=\"JAVASCRIPT:gone()\">link</A>\r\n"
    "--I\r\nCONTENT-TYPE: IMAGE/GIF\r\nCONTENT-DISPOSITION: INLINE; FILENAME=I.GIF\r\nCONTENT-ID: <PIC@I>\r\n"
    "CONTENT-TRANSFER-ENCODING: BASE64\r\n\r\nR0lGODlhAQABAIAAAAAAAP///ywAAAAAAQABAAACAUwAOw==\r\n"
    "--I\r\nCONTENT-TYPE: APPLICATION/ZIP\r\nCONTENT-DISPOSITION: ATTACHMENT; FILENAME*=ISO-8859-9''DI%DE.ZIP\r\n"
    "CONTENT-TRANSFER-ENCODING: QUOTED-PRINTABLE\r\n\r\n=49I\r\n--I--\r\n";

class LocalesTest : public testing::Test {
protected:
    LocalesTest() {
        fs::create_directories(scratch_ / "Mail/INBOX.mbox/Messages");
        const std::string file = std::to_string(mailInCapitals.size()) + "\n" + std::string(mailInCapitals);
        for (const char* name : {"1.emlx", "2.partial.emlx"}) {
            files::writeAtomically(message(name), bytesOf(file));
        }
        Program compile({"/usr/bin/localedef", "-i", "tr_TR", "-f", "UTF-8", scratch_ / "tr_TR.UTF-8"},
                        scratch_.path());
        hasTurkish_ = compile.wait() == 0;
    }

    fs::path message(const std::string& name) const { return scratch_ / "Mail/INBOX.mbox/Messages" / name; }

    // What the command says in the locale.
    std::string outputOf(const std::string& locale, const std::vector<std::string>& command) const {
        std::vector<std::string> all = {"/usr/bin/env", "LOCPATH=" + scratch_.path().native(), "LC_ALL=" + locale};
        all.insert(all.end(), command.begin(), command.end());
        Program program(all, scratch_.path());
        EXPECT_EQ(program.wait(), 0) << locale << ": " << program.errors();
        return program.output();
    }

    ScratchFolder scratch_;
    bool hasTurkish_ = false;
};

TEST_F(LocalesTest, MailReadsTheSameInEveryLocale) {
    if (!hasTurkish_) GTEST_SKIP() << "Turkish cannot be made here (Debian package locales).";
    const struct {
        const char* why;
        std::vector<std::string> command;
        const char* expected;
    } rows[] = {
        {"scan", {INSPECT_PROGRAM, "index", scratch_ / "Mail"}, R"("messageID":"I1@EXAMPLE.COM")"},
        {"read", {INSPECT_PROGRAM, "message", message("1.emlx")}, R"("contentID":"PIC@I","partNumber":"2")"},
        {"page", {INSPECT_PROGRAM, "page", message("1.emlx")}, "data:image/gif"},
    };
    for (const auto& row : rows) {
        const std::string plain = outputOf("C", row.command);
        EXPECT_NE(plain.find(row.expected), std::string::npos) << row.why << ": " << plain;
        std::string turkish = outputOf("tr_TR.UTF-8", row.command);
        // A size is text for a person.
        if (const auto size = turkish.find("2 bayt"); size != std::string::npos) turkish.replace(size, 6, "2 bytes");
        EXPECT_EQ(turkish, plain) << row.why;
    }
}

TEST_F(LocalesTest, AnExportIsTheSameInEveryLocale) {
    if (!hasTurkish_) GTEST_SKIP() << "Turkish cannot be made here (Debian package locales).";
    std::map<std::string, std::vector<std::string>> exported;
    for (const char* locale : {"C", "en_US.UTF-8", "tr_TR.UTF-8"}) {
        const fs::path destination = scratch_ / (std::string("out-") + locale);
        fs::create_directory(destination);
        std::string folder = outputOf(locale, {EXPORT_PROGRAM, scratch_ / "Mail", destination});
        folder.resize(folder.find('\n'));
        std::vector<std::string>& content = exported[locale];
        content.push_back(std::string(files::readWhole(folder + "/index.csv").chars()));
        files::walk(folder, files::Hidden::include, [&](const files::Entry& entry) {
            content.push_back(fs::path(entry.path).lexically_relative(folder));
            return files::Walk::on;
        });
    }
    EXPECT_EQ(exported["en_US.UTF-8"], exported["C"]);
    EXPECT_EQ(exported["tr_TR.UTF-8"], exported["C"]);
    EXPECT_TRUE(std::ranges::any_of(exported["C"], [](auto& name) { return name.ends_with("/DIŞ.ZIP"); }));
}

}   // namespace
}   // namespace ostrel
