#include "core/mailstore/MailPlaces.h"
#include "tests/platform/Surroundings.h"

#include <string>

#include <gtest/gtest.h>

namespace ostrel {
namespace {

namespace fs = std::filesystem;

TEST(MailPlaces, AreFoundWhereMacsAndBackupsHaveThem) {
    const struct {
        const char* why;
        const char* folder;
        bool isMail;
    } rows[] = {
        {"a home that was copied over this one", "Library/Mail/V10/A/INBOX.mbox", true},
        {"a copy of the folder", "Old letters/V2/Mailboxes/Archive.mbox", true},
        {"a mailbox without an account", "Flat/V3/INBOX.mbox", true},
        {"a home that was copied", "mara/Library/Mail/V9/A/INBOX.mbox", true},
        {"the disk of a Mac", "Users/mara/Library/Mail/V10/A/INBOX.mbox", true},
        {"a backup", "Backups.backupdb/Mac/Latest/Disk/Users/mara/Library/Mail/V7/A/INBOX.mbox", true},
        {"no mailboxes", "Versions/V10/A/notes", false},
        {"no version", "Letters/A/INBOX.mbox", false},
        {"hidden", ".trash/V10/A/INBOX.mbox", false},
        {"too deep to be expected", "a/b/c/V10/A/INBOX.mbox", false},
    };
    for (const auto& [why, folder, isMail] : rows) {
        const ScratchFolder place;
        fs::create_directories(place / folder);
        const std::string name(folder);
        const std::vector<fs::path> expected{place / name.substr(0, name.find("/V"))};
        EXPECT_EQ(MailPlaces::find({place.path(), place.path(), "/nowhere"}),
                  isMail ? expected : std::vector<fs::path>())
            << why;
    }
}

}   // namespace
}   // namespace ostrel
