#include "core/mailstore/Emlx.h"
#include "core/mailstore/MailScanner.h"
#include "platform/Files.h"
#include "platform/SystemCalls.h"
#include "sample/EmlBuilder.h"
#include "tests/platform/Surroundings.h"

#include <chrono>
#include <filesystem>
#include <functional>
#include <string>
#include <string_view>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

namespace ostrel {
namespace {

namespace fs = std::filesystem;

std::size_t messagesOpened = 0;   // by the function below, which the system's table of calls can only name

int countedOpen(int folder, const char* path, int flags, mode_t mode) {
    if (std::string_view(path).ends_with(".emlx")) ++messagesOpened;
    return ::openat(folder, path, flags, mode);
}

// A mail folder that is scanned again and again, and the folder in which its summaries are kept.
class SummaryCacheTest : public testing::Test {
protected:
    SummaryCacheTest() : open_(files::systemCalls().open) {
        files::systemCalls().open = countedOpen;
        put("A/INBOX.mbox/1.emlx", message("one").header("To", "Kim Lee <kim@x.org>, ann@x.org"));
        put("A/INBOX.mbox/2.emlx", message("two").header("In-Reply-To", "<1@x>").header("References", "<0@x> <1@x>"));
        put("A/INBOX.mbox/3.partial.emlx", message("three"));
        put("A/INBOX.mbox/Sub.mbox/4.emlx", EmlBuilder().text("no head fields to speak of"));
        put("A/INBOX.mbox/zebra.emlx", message("Grüße 😀"));
        put("B/Archive.mbox/1.emlx", message("the same name elsewhere"));
        files::writeAtomically(mail_ / "B/Archive.mbox/2.emlx", bytesOf("no message"));
    }
    ~SummaryCacheTest() override { files::systemCalls().open = open_; }

    static EmlBuilder message(const std::string& subject) {
        return EmlBuilder().header("From", "Kim <kim@x.org>").header("Subject", subject).text("body");
    }
    void put(const std::string& path, const EmlBuilder& message) const { put(path, message.emlx(Instant())); }
    void put(const std::string& path, const std::string& bytes) const {
        files::createFolders((mail_ / path).parent_path());
        files::writeAtomically(mail_ / path, bytesOf(bytes));
    }

    // At a time when the files are older than a moment, whatever the clock says.
    static constexpr Instant later{std::chrono::years(200)};
    MailIndex scan(std::optional<SummaryCache::Place> place) const {
        return MailScanner::scan(
            mail_.path(), "On My Mac", [](std::size_t) {}, [] { return false; }, place);
    }
    // The number of message files that a scan with the cache opens. Its result is that of a scan without.
    std::size_t openedByScan(Instant now = later) const {
        const auto expected = scan(std::nullopt);
        messagesOpened = 0;
        EXPECT_EQ(scan(SummaryCache::Place{cache(), now}), expected);
        return messagesOpened;
    }
    fs::path cache() const { return folder_ / "kept"; }
    fs::path cacheFile() const { return cache() / files::list(cache()).at(0); }

    static constexpr std::size_t messages = 6, notMessages = 1;   // the latter are never kept
    ScratchFolder mail_, folder_;

private:
    decltype(files::SystemCalls::open) const open_;
};

TEST_F(SummaryCacheTest, OnlyWhatIsNewOrChangedIsOpenedAgain) {
    EXPECT_EQ(openedByScan(), messages + notMessages);
    const struct {
        const char* why;
        std::function<void()> change;
        std::size_t opened;
    } rows[] = {
        {"nothing has happened", [] {}, 0},
        {"a new message between others", [&] { put("A/INBOX.mbox/11.emlx", message("eleven")); }, 1},
        {"a new mailbox", [&] { put("A/Alpha.mbox/1.emlx", message("alpha")); }, 1},
        {"another text of the same length", [&] { put("A/INBOX.mbox/1.emlx", message("eno")); }, 1},
        {"the same file, written over",
         [&] {
             const int file = ::open((mail_ / "A/INBOX.mbox/2.emlx").c_str(), O_WRONLY);
             EXPECT_EQ(::pwrite(file, "9", 1, 0), 1);
             ::close(file);
         },
         1},
        {"times set back to what they were",
         [&] {
             struct stat status {};
             ::stat((mail_ / "A/INBOX.mbox/2.emlx").c_str(), &status);
             put("A/INBOX.mbox/2.emlx", message("owt"));
             const timespec times[2] = {status.st_atim, status.st_mtim};
             ::utimensat(AT_FDCWD, (mail_ / "A/INBOX.mbox/2.emlx").c_str(), times, 0);
         },
         1},
        {"a message moved to another mailbox",
         [&] { fs::rename(mail_ / "A/INBOX.mbox/11.emlx", mail_ / "B/Archive.mbox/11.emlx"); }, 1},
        {"two messages that change places",
         [&] {
             fs::rename(mail_ / "A/INBOX.mbox/1.emlx", mail_ / "x");
             fs::rename(mail_ / "A/INBOX.mbox/2.emlx", mail_ / "A/INBOX.mbox/1.emlx");
             fs::rename(mail_ / "x", mail_ / "A/INBOX.mbox/2.emlx");
         },
         2},
        {"a mailbox renamed", [&] { fs::rename(mail_ / "A/Alpha.mbox", mail_ / "A/Zulu.mbox"); }, 1},
        {"a message removed", [&] { fs::remove(mail_ / "A/INBOX.mbox/2.emlx"); }, 0},
        {"attachments appear beside a partial message",
         [&] { files::createFolders(Emlx::attachmentsFolder(mail_ / "A/INBOX.mbox/3.partial.emlx")); }, 0},
        {"a file that is no message any more", [&] { put("A/INBOX.mbox/1.emlx", std::string("gone")); }, 1},
    };
    std::size_t unreadable = notMessages;
    for (const auto& row : rows) {
        row.change();
        EXPECT_EQ(openedByScan(), row.opened + unreadable) << row.why;
        if (std::string_view(row.why).ends_with("any more")) ++unreadable;
        EXPECT_EQ(openedByScan(), unreadable) << row.why << ", once more";
    }
}

TEST_F(SummaryCacheTest, AFileThatHasJustChangedIsReadAgain) {
    const Instant past{};   // a clock that is wrong: all files are from the future
    for (int i = 0; i < 2; ++i) EXPECT_EQ(openedByScan(past), messages + notMessages);
}

TEST_F(SummaryCacheTest, DamageCostsTimeOnly) {
    openedByScan();
    const std::string whole(files::readWhole(cacheFile()).chars());
    const auto openedWith = [&](std::string bytes) {
        files::writeAtomically(cacheFile(), bytesOf(bytes));
        return openedByScan();
    };
    const std::size_t all = messages + notMessages;
    EXPECT_EQ(openedWith(whole), notMessages);
    EXPECT_EQ(openedWith(""), all);
    EXPECT_EQ(openedWith(whole + "M"), all);
    for (std::size_t i = 0; i < whole.size(); i += 7) {
        EXPECT_EQ(openedWith(whole.substr(0, i)), all) << "cut at " << i;
        std::string changed = whole;
        changed[i] = static_cast<char>(changed[i] ^ 0x10);
        EXPECT_EQ(openedWith(changed), all) << "changed at " << i;
    }
}

TEST_F(SummaryCacheTest, IsThisUsersAloneAndBounded) {
    struct stat status {};
    for (int i = 0; i < 6; ++i) {
        put("V" + std::to_string(i) + "/INBOX.mbox/1.emlx", message("another root from now on"));
        openedByScan();
    }
    EXPECT_EQ(files::list(cache()).size(), 4U);
    ASSERT_EQ(::stat(cache().c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0700U);
}

TEST_F(SummaryCacheTest, AFolderThatCannotBeWrittenDoesNotMatter) {
    files::writeAtomically(cache(), bytesOf("a file"));
    for (int i = 0; i < 2; ++i) EXPECT_EQ(openedByScan(), messages + notMessages);
}

}   // namespace
}   // namespace ostrel
