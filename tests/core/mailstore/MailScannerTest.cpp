#include "core/mailstore/MailScanner.h"
#include "platform/Files.h"
#include "sample/EmlBuilder.h"
#include "tests/platform/Surroundings.h"

#include <filesystem>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <sys/stat.h>

namespace ostrel {
namespace {

namespace fs = std::filesystem;

// A mail folder to be made and scanned.
class Store {
public:
    void put(const std::string& path, const std::string& content) const {
        files::createFolders((root_ / path).parent_path());
        files::writeAtomically(root_ / path, bytesOf(content));
    }
    void putMessage(const std::string& path, const std::string& to = "kim@x.org", const std::string& more = "") const {
        put(path, "To: " + to + "\r\nSubject: " + path + "\r\n" + more + "\r\nbody");
    }
    MailIndex scan(const fs::path& folder) const {
        return MailScanner::scan(
            folder, "On My Mac", [](std::size_t) {}, [] { return false; });
    }
    MailIndex scan() const { return scan(path()); }
    const fs::path& path() const { return root_.path(); }

protected:
    ScratchFolder root_;
};

class MailScannerTest : public testing::Test, protected Store {};

TEST_F(MailScannerTest, MailboxesFollowFromPaths) {
    const struct {
        const char* why;
        std::string path, account, id, name;
        const char* chosen = "";   // the folder that is scanned, below the root
    } rows[] = {
        {"Mail's own layout", "A1/INBOX.mbox/X/Data/0/Messages/12.emlx", "A1", "A1/INBOX.mbox", "INBOX"},
        {"nested", "A1/Projects.mbox/Kitchen.MBOX/X/Data/Messages/3.emlx", "A1", "A1/Projects.mbox/Kitchen.MBOX",
         "Projects/Kitchen"},
        {"a folder between nested mailboxes", "A1/P.mbox/between/K.mbox/Messages/3.emlx", "A1",
         "A1/P.mbox/between/K.mbox", "P/K"},
        {"one mailbox alone", "INBOX.mbox/Messages/1.emlx", "", "INBOX.mbox", "INBOX"},
        {"the root itself", "7.emlx", "", ".", "Messages"},
        {"a folder without mailbox", "old/mail/7.emlx", "old", "old/mail", "mail"},
        {"its Messages folder", "old/mail/Messages/7.emlx", "old", "old/mail/Messages", "mail"},
        {"Messages alone", "Messages/7.emlx", "Messages", "Messages", "Messages"},
        {"a mailbox chosen", "A1/INBOX.mbox/X/Data/0/Messages/12.emlx", "", "INBOX.mbox", "INBOX", "A1/INBOX.mbox"},
        {"with a slash", "Work.MBOX/7.emlx", "", "Work.MBOX", "Work", "Work.MBOX/"},
        {"with others in it", "P.mbox/K.mbox/Messages/3.emlx", "", "P.mbox/K.mbox", "P/K", "P.mbox"},
        {"a folder in a mailbox", "P.mbox/Data/Messages/3.emlx", "Messages", "Messages", "Messages", "P.mbox/Data"},
    };
    for (const auto& row : rows) {
        const Store own;
        own.putMessage(row.path);
        const MailIndex index = own.scan(own.path() / row.chosen);
        ASSERT_EQ(index.messages.size(), 1U) << row.why;
        const Mailbox* mailbox = index.mailbox(index.messages[0].mailboxID);
        ASSERT_NE(mailbox, nullptr) << row.why;
        EXPECT_EQ(*mailbox, (Mailbox{row.id, row.account, row.name, 1})) << row.why;
    }
}

TEST_F(MailScannerTest, OnlyMessagesOfTheNewestStoreAreListed) {
    putMessage("V9/A/INBOX.mbox/1.emlx");
    putMessage("V2/A/INBOX.mbox/2.emlx");
    putMessage("V10/A/INBOX.mbox/Messages/3.emlx");
    putMessage("V10/A/INBOX.mbox/Messages/4.EMLX");
    putMessage("V10/MailData/5.emlx");
    putMessage("V10/A/INBOX.mbox/Attachments/6.emlx");
    putMessage("V10/A/INBOX.mbox/.hidden.emlx");
    putMessage("V10/A/.hidden/7.emlx");
    putMessage("V10/A/INBOX.mbox/8.txt");
    putMessage("Vx/A/9.emlx");
    put("V10/A/INBOX.mbox/Messages/damaged.emlx", "no message");
    put("V10/A/INBOX.mbox/Messages/empty.emlx", "");
    fs::create_directory(root_ / "V10/A/INBOX.mbox/folder.emlx");
    ASSERT_EQ(mkfifo((root_ / "V10/A/INBOX.mbox/pipe.emlx").c_str(), 0600), 0);
    fs::create_directory_symlink(root_ / "V9", root_ / "V10/A/linked");

    const MailIndex index = scan();
    EXPECT_EQ(index.root, root_ / "V10");
    EXPECT_EQ(index.messages.size(), 2U);
    EXPECT_EQ(index.unreadable, 4U) << "damaged, empty, a folder, a pipe";
}

TEST_F(MailScannerTest, TheNewestStoreHasTheLargestNumber) {
    const struct {
        const char* why;
        std::vector<std::string> folders;
        std::string expected;
    } rows[] = {
        {"by value, not by text", {"V2", "V10", "V9"}, "V10"},
        {"a sign is part of a number", {"V-3", "V+4", "V3"}, "V+4"},
        {"the first of equals", {"V10", "V+10", "V010"}, "V+10"},
        {"negative numbers only", {"V-3", "V-2"}, "V-2"},
        {"beyond 64 bits is no number", {"V9223372036854775808", "V9"}, "V9"},
        {"no numbers", {"V", "Vx", "V2a", "v11", "V 1", "AV1"}, ""},
    };
    for (const auto& row : rows) {
        const ScratchFolder own;
        for (const std::string& name : row.folders) fs::create_directory(own / name);
        EXPECT_EQ(MailScanner::dataRoot(own.path()), row.expected.empty() ? own.path() : own / row.expected) << row.why;
    }
    EXPECT_EQ(MailScanner::dataRoot(root_ / "none"), root_ / "none");
}

TEST_F(MailScannerTest, LinksLeadToFilesNotIntoFolders) {
    putMessage("A/INBOX.mbox/1.emlx");
    fs::create_symlink(root_ / "A/INBOX.mbox/1.emlx", root_ / "A/INBOX.mbox/2.emlx");
    fs::create_symlink(root_ / "nowhere", root_ / "A/INBOX.mbox/3.emlx");
    fs::create_directory_symlink(root_ / "A", root_ / "A/INBOX.mbox/loop.emlx");
    const MailIndex index = scan();
    EXPECT_EQ(index.messages.size(), 2U);
    EXPECT_EQ(index.unreadable, 2U);
}

TEST_F(MailScannerTest, ASummaryHoldsWhatTheListShows) {
    put("A/INBOX.mbox/Messages/1.emlx", EmlBuilder()
                                            .header("From", "Größe Åse <ase@x.org>, kim@x.org")
                                            .header("To", "kim@x.org")
                                            .header("Subject", "  Fünf  ")
                                            .rawHeader("Date", "Tue, 05 Mar 2024 09:07:42 +0100")
                                            .rawHeader("Message-ID", "<1@x>")
                                            .rawHeader("In-Reply-To", "<0@x>")
                                            .rawHeader("References", "<a@x>\r\n <0@x>")
                                            .text("x")
                                            .attachment("a.txt", "text/plain", "a")
                                            .emlx({}));
    const MailIndex index = scan();
    MessageSummary expected;
    expected.url = root_ / "A/INBOX.mbox/Messages/1.emlx";
    expected.mailboxID = std::string("A/INBOX.mbox");
    expected.subject = "Fünf";
    expected.from = std::vector<MailAddress>{{"Größe Åse", "ase@x.org"}, {"", "kim@x.org"}};
    expected.to = std::vector<MailAddress>{{"", "kim@x.org"}};
    expected.date = Instant(std::chrono::seconds(1709626062));
    expected.messageID = "1@x";
    expected.inReplyTo = std::vector<std::string>{"0@x"};
    expected.references = std::vector<std::string>{"a@x", "0@x"};
    expected.hasAttachments = true;
    ASSERT_EQ(index.messages.size(), 1U);
    EXPECT_EQ(index.messages[0], expected);
    EXPECT_EQ(expected.fromLine(), "Größe Åse");
}

TEST_F(MailScannerTest, PartialMessagesHaveTheAttachmentsThatAreStored) {
    const std::string alternative = "Content-Type: multipart/alternative; boundary=b\r\n";
    putMessage("M.mbox/Data/Messages/1.partial.emlx", "k@x", alternative);
    putMessage("M.mbox/Data/Messages/2.partial.emlx", "k@x", alternative);
    putMessage("M.mbox/Data/Messages/3.emlx", "k@x", alternative);
    put("M.mbox/Data/Attachments/2/2/a.pdf", "x");
    put("M.mbox/Data/Attachments/3/2/a.pdf", "x");
    for (const MessageSummary& message : scan().messages) {
        EXPECT_EQ(message.hasAttachments, message.url.filename() == "2.partial.emlx") << message.url.native();
    }
}

TEST_F(MailScannerTest, NewestFirstAndUndatedByFileDate) {
    putMessage("M.mbox/1.emlx", "k@x", "Date: Tue, 05 Mar 2019 09:07:42 +0000\r\n");
    putMessage("M.mbox/2.emlx", "k@x", "Date: Tue, 05 Mar 2024 09:07:42 +0000\r\n");
    putMessage("M.mbox/3.emlx", "k@x", "Date: nonsense\r\n");
    putMessage("M.mbox/4.emlx", "k@x", "Date: Tue, 05 Mar 2024 09:07:42 +0000\r\n");
    putMessage("M.mbox/5.emlx", "k@x", "Date: Wed, 05 Mar 2025 09:07:42 +0000\r\n");
    putMessage("M.mbox/6.emlx", "k@x", "Date: Sat, 05 Mar 2022 09:07:42 +0000\r\n");
    fs::last_write_time(root_ / "M.mbox/3.emlx",
                        std::chrono::file_clock::from_sys(std::chrono::sys_seconds(std::chrono::seconds(1600000000))));
    std::vector<std::string> order;
    for (const MessageSummary& message : scan().messages) order.push_back(message.url.filename());
    EXPECT_EQ(order, (std::vector<std::string>{"5.emlx", "2.emlx", "4.emlx", "6.emlx", "3.emlx", "1.emlx"}));
}

TEST_F(MailScannerTest, AccountsAreLabelledAndOrderedForPeople) {
    putMessage("B/INBOX.mbox/1.emlx", "Zoe@x.org, other@x.org");
    putMessage("B/Trash.mbox/2.emlx", "zoe@X.org");
    putMessage("B/Box 10.mbox/3.emlx", "");
    putMessage("B/Box 9.mbox/4.emlx", "");
    putMessage("B/Sent Messages.mbox/5.emlx", "");
    putMessage("A/P.mbox/Inbox.mbox/6.emlx", "b@x.org, a@x.org");
    putMessage("A/Archive.mbox/7.emlx", "");
    putMessage("C/INBOX.mbox/8.emlx", "");
    putMessage("Mailboxes/Old.mbox/9.emlx", "kim@x.org");
    std::vector<std::string> lines;
    for (const MailAccount& account : scan().accounts) {
        lines.push_back(account.label + ":");
        for (const Mailbox& mailbox : account.mailboxes) lines.back() += " " + mailbox.name + ",";
    }
    EXPECT_EQ(lines,
              (std::vector<std::string>{"a@x.org: Archive, P/Inbox,", "C: INBOX,",
                                        "zoe@x.org: INBOX, Sent Messages, Trash, Box 9, Box 10,", "On My Mac: Old,"}));
}

TEST_F(MailScannerTest, AccessErrorsAndStopping) {
    EXPECT_EQ(MailScanner::checkAccess(root_.path()), std::nullopt);
    EXPECT_EQ(MailScanner::checkAccess(root_ / "none"), MailAccessError::Kind::notFound);
    put("file", "x");
    EXPECT_THROW(scan(root_ / "file"), MailAccessError);
    for (int i = 0; i < 450; ++i) putMessage("M.mbox/" + std::to_string(i) + ".emlx");
    std::vector<std::size_t> reported;
    int asked = 0;
    const MailIndex index = MailScanner::scan(
        root_.path(), "", [&](std::size_t count) { reported.push_back(count); }, [&] { return ++asked > 420; });
    EXPECT_EQ(index.messages.size(), 420U);
    EXPECT_EQ(reported, (std::vector<std::size_t>{200, 400, 420}));
}

TEST_F(MailScannerTest, RootsAreTakenAsPeopleWriteThem) {
    putMessage("Mail/A/INBOX.mbox/1.emlx");
    putMessage("Mail/A/INBOX.mbox/2\xFF.emlx");
    fs::create_directory_symlink(root_ / "Mail", root_ / "link");
    for (const fs::path& folder : {root_ / "Mail", root_ / "Mail/", root_ / "Mail/../Mail/.", root_ / "link"}) {
        const MailIndex index = scan(folder);
        ASSERT_EQ(index.messages.size(), 2U) << folder;
        EXPECT_EQ(index.messages[0].mailboxID, "A/INBOX.mbox") << folder;
    }
}

}   // namespace
}   // namespace ostrel
