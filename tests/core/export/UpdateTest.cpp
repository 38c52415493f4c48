#include "core/export/Update.h"
#include "core/export/Verification.h"
#include "tests/core/export/ExportFixture.h"
#include "tests/core/export/Faults.h"

#include <filesystem>
#include <functional>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

namespace ostrel {
namespace {

namespace fs = std::filesystem;
using Verification::Finding;
using Kind = Finding::Kind;

class UpdateTest : public ExportFixture {
protected:
    UpdateTest() {
        settings_.attachments = true;
        EmlBuilder stored;
        stored.text("x").storedAttachment("plan.pdf", "application/pdf", 10);
        const EmlBuilder files =
            EmlBuilder().text("x").attachment("a.txt", "text/plain", "A").attachment("a.txt", "text/plain", "B");
        // Names that get in each other's way, a copy to the byte, and one that cannot be read.
        messages_ = {put("Scan", 1),           put("Scan.pdf", 1, files), put("Scan", 1),
                     put("Stored", 2, stored), put("Unread", 3),          put("Last", 4, files)};
        files::createFolders(mail_ / "Attachments/4/2");
        files::writeAtomically(mail_ / "Attachments/4/2/plan.pdf", bytesOf("plan"));
        files::writeAtomically(messages_[4].url, bytesOf("no message"));
        messages_.push_back(put("Twin", 5));
        messages_.push_back(copyOf(messages_.back()));
    }

    MessageSummary copyOf(const MessageSummary& original) {
        MessageSummary copy = original;
        copy.url = mail_ / "Messages" / (std::to_string(++count_) + ".emlx");
        fs::copy_file(original.url, copy.url);
        return copy;
    }

    Update::Request request(const std::vector<MessageSummary>& messages) const {
        Update::Request request{out_ / "Export", {}, {{"INBOX.mbox", "Inbox"}, {"Old.mbox", "Old"}}, settings_};
        for (const MessageSummary& message : messages) request.messages.push_back(&message);
        return request;
    }
    ExportResult update(Update::Request request) {
        return Update(std::move(request)).run(&renderer_, [](const ExportProgress&) {}, {});
    }
    ExportResult update(const std::vector<MessageSummary>& messages) { return update(request(messages)); }

    static std::vector<Finding> verify(const fs::path& folder) {
        return Verification::verify(folder, [](std::size_t, std::size_t) {}, {}).findings;
    }
    // When everything below the folder was last written or renamed.
    static std::map<std::string, Instant> dates(const fs::path& folder) {
        std::map<std::string, Instant> all = {{"", files::status(folder)->changed}};
        for (const auto& entry : fs::recursive_directory_iterator(folder))
            all[entry.path()] = files::status(entry.path())->changed;
        return all;
    }

    std::vector<MessageSummary> messages_;
};

TEST_F(UpdateTest, ARunMayEndAtAnyCallAndTheNextOneToo) {
    const fs::path folder = run(messages_).folder;
    const auto whole = everything(folder);
    EXPECT_EQ(verify(folder), std::vector<Finding>());
    using enum Faults::Disk;
    for (const auto& [disk, atOnce] : {std::pair{makesNamelessFiles, 1U}, std::pair{doesNot, 4U}}) {
        renderer_.atOnce = atOnce;
        std::size_t ended = 1;
        for (std::size_t call = 1; ended > 0; ++call) {
            SCOPED_TRACE(call);
            fs::remove_all(folder);
            const auto cutShort = [&](std::size_t at, const std::function<void()>& work) {
                const Faults faults(at, 1, Faults::endsTheRun, disk);
                try {
                    work();
                } catch (const Faults::Ended&) {
                }
                return faults.happened();
            };
            ended = cutShort(call, [&] { run(messages_); });
            if (!fs::exists(folder)) continue;
            cutShort(call / 2 + 10, [&] { update(messages_); });
            const ExportResult result = update(messages_);
            EXPECT_EQ(result.failed.size(), 1U);
            EXPECT_EQ(result.strange, std::vector<std::string>());
            const auto now = everything(folder);
            ASSERT_EQ(now, whole);
            ASSERT_EQ(verify(folder), std::vector<Finding>());
        }
    }
}

TEST_F(UpdateTest, WhatHasNotChangedIsNotTouched) {
    std::erase_if(messages_, [](const MessageSummary& message) { return message.subject == "Unread"; });
    const fs::path folder = run(messages_).folder;
    const auto before = dates(folder);
    renderer_.infos.clear();
    {
        Update again(request(messages_));
        EXPECT_EQ(again.due(), 0U);
        EXPECT_EQ(again.run(nullptr, [](const ExportProgress&) {}, {}).held, messages_.size());
        EXPECT_EQ(dates(folder), before);
    }

    messages_.push_back(put("New", 0));
    const ExportResult result = update(messages_);
    EXPECT_EQ(result.exported, 1U);
    EXPECT_EQ(renderer_.infos.size(), 1U);
    auto after = dates(folder);
    for (const auto& [name, date] : before) {
        const bool isAboutAll = name.empty() || name.find(" - ") == std::string::npos;
        if (!isAboutAll) {
            EXPECT_EQ(after[name], date) << name;
        }
    }
    // The index is the one that an export of all would have.
    const std::string index = content(folder / "index.csv");
    settings_.folderName = "Afresh";
    EXPECT_EQ(content(run(messages_).folder / "index.csv"), index);
}

TEST_F(UpdateTest, AMessageIsKnownAgainWhereverItLies) {
    const auto replaced = [](const MessageSummary& message, const std::string& with) {
        fs::remove(message.url);
        files::writeAtomically(message.url, bytesOf(with));
    };
    const struct {
        const char* why;
        std::function<void(std::vector<MessageSummary>&)> change;
        std::size_t exported;
        bool skipsDuplicates = false;
    } rows[] = {
        {"nothing", [](auto&) {}, 0},
        {"a mailbox has another name",
         [&](auto& all) {
             fs::rename(mail_ / "Messages", mail_ / "Old");
             for (auto& message : all) {
                 message.url = mail_ / "Old" / message.url.filename();
                 message.mailboxID = std::string("Old.mbox");
             }
         },
         0},
        {"a copy in another mailbox", [&](auto& all) { all.insert(all.begin(), copyOf(all[0])); }, 0},
        {"what the mail program keeps beside the message",
         [&](auto& all) { replaced(all[0], content(all[0].url) + "<plist><dict/></plist>"); }, 0},
        {"another message of the same identifier",
         [&](auto& all) {
             all.push_back(put("Scan", 1, EmlBuilder().text("other")));
             all.back().messageID = all[0].messageID;
         },
         1},
        {"the same where one is enough",
         [&](auto& all) {
             all.insert(all.begin(), put("Scan", 1, EmlBuilder().text("other")));
             all.front().messageID = all[1].messageID;
         },
         0, true},
        {"a message that is gone", [](auto& all) { all.erase(all.begin()); }, 0},
        {"attachments that have been downloaded since",
         [&](auto&) { files::writeAtomically(mail_ / "Attachments/2/2/film.mov", bytesOf("film")); }, 1},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.why);
        fs::remove_all(mail_ / "Messages");
        fs::remove_all(mail_ / "Attachments");
        fs::remove_all(out_ / "Export");
        count_ = 0;
        EmlBuilder film;
        film.text("x").storedAttachment("film.mov", "video/quicktime", 4);
        std::vector<MessageSummary> all = {put("Scan", 1), put("Film", 2, film), put("Other", 3)};
        files::createFolders(mail_ / "Attachments/2/2");
        const fs::path folder = run(all).folder;
        const auto before = everything(folder);
        row.change(all);
        Update::Request asked = request(all);
        asked.skipsDuplicates = row.skipsDuplicates;
        const ExportResult result = update(asked);
        EXPECT_EQ(result.exported, row.exported);
        EXPECT_TRUE(result.failed.empty());
        EXPECT_EQ(verify(folder), std::vector<Finding>());
        const auto after = everything(folder);
        for (const auto& [name, bytes] : before) EXPECT_TRUE(after.contains(name)) << name;
        renderer_.infos.clear();
        EXPECT_EQ(update(asked).exported, 0U) << "the next time it is known at once";
        EXPECT_EQ(everything(folder), after);
    }
}

TEST_F(UpdateTest, DamageIsFoundAndMendedAndNothingElse) {
    const std::string pdf = "2024-03-05 0704 Kim - Last.pdf", attachment = "2024-03-05 0704 Kim - Last/a (2).txt";
    const auto flip = [&](const std::string& name) {
        return [this, name] {
            std::string bytes = content(out_ / "Export" / name);
            char& middle = bytes[bytes.size() / 2];
            middle = middle == '0' ? '1' : '0';
            files::writeAtomically(out_ / "Export" / name, bytesOf(bytes));
        };
    };
    const auto gone = [&](const std::string& name) { return [this, name] { fs::remove(out_ / "Export" / name); }; };
    const struct {
        const char* why;
        std::function<void()> damage;
        std::vector<Finding> found;
        std::size_t exported;   // again, beside the one that fails each time
        std::vector<std::string> stay = {};
    } rows[] = {
        {"a byte of a PDF", flip(pdf), {{Kind::changed, pdf, ""}}, 1},
        {"a byte of an attachment", flip(attachment), {{Kind::changed, attachment, ""}}, 1},
        {"a byte of the index", flip("index.csv"), {{Kind::changed, "index.csv", ""}}, 0},
        {"a byte of the lines", flip("messages.jsonl"), {{Kind::changed, "messages.jsonl", ""}}, 0},
        {"a byte of the sums", flip("SHA256SUMS"), {{Kind::changed, "SHA256SUMS", ""}}, 0},
        {"no PDF", gone(pdf), {{Kind::missing, pdf, ""}}, 1},
        {"no attachment", gone(attachment), {{Kind::missing, attachment, ""}}, 1},
        {"no index", gone("index.csv"), {{Kind::missing, "index.csv", ""}}, 0},
        {"no lines: all is made again in its place",
         gone("messages.jsonl"),
         {{Kind::missing, "messages.jsonl", ""}},
         7},
        {"no sums", gone("SHA256SUMS"), {{Kind::missing, "SHA256SUMS", ""}}, 0},
        {"another name",
         [&] { fs::rename(out_ / "Export" / pdf, out_ / "Export/My.pdf"); },
         {{Kind::missing, pdf, "My.pdf"}, {Kind::strange, "My.pdf", ""}},
         1,
         {"My.pdf"}},
        {"somebody's files",
         [&] {
             files::writeAtomically(out_ / "Export/notes.txt", bytesOf("mine"));
             files::createFolders(out_ / "Export/mine/deeper");
             files::writeAtomically(out_ / "Export/mine/deeper/SHA256SUMS", bytesOf("mine"));
         },
         {{Kind::strange, "mine/deeper/SHA256SUMS", ""}, {Kind::strange, "notes.txt", ""}},
         0,
         {"mine/deeper/SHA256SUMS", "notes.txt"}},
        {"a link in the place of a PDF",
         [&] {
             fs::rename(out_ / "Export" / pdf, out_ / "kept.pdf");
             fs::create_symlink("../kept.pdf", out_ / "Export" / pdf);
         },
         {{Kind::changed, pdf, ""}},
         1},
    };
    const auto whole = everything(run(messages_).folder);
    for (const auto& row : rows) {
        SCOPED_TRACE(row.why);
        fs::remove_all(out_ / "Export");
        const fs::path folder = run(messages_).folder;
        row.damage();
        EXPECT_EQ(verify(folder), row.found);
        const ExportResult result = update(messages_);
        EXPECT_EQ(result.exported, row.exported);
        EXPECT_EQ(result.failed.size(), 1U);
        EXPECT_EQ(result.strange, row.stay);
        auto now = everything(folder);
        for (const std::string& name : row.stay) EXPECT_EQ(now.erase(name), 1U) << name;
        now.erase("mine");
        now.erase("mine/deeper");
        EXPECT_EQ(now, whole);
    }
}

TEST_F(UpdateTest, WhatIsGoneFromTheMailFolderStays) {
    const fs::path folder = run(messages_).folder;
    const std::string pdf = "2024-03-05 0704 Kim - Last.pdf", index = content(folder / "index.csv");
    std::erase_if(messages_, [](const MessageSummary& message) { return message.subject == "Last"; });
    EXPECT_EQ(update(messages_).failed.size(), 1U);
    EXPECT_EQ(content(folder / "index.csv"), index);

    files::writeAtomically(folder / pdf, bytesOf("damaged"));
    for (int time = 0; time < 2; ++time) {
        ExportResult result = update(messages_);
        ASSERT_EQ(result.failed.size(), 2U) << "it is told each time";
        EXPECT_EQ(result.failed[1].name, pdf);
        EXPECT_EQ(verify(folder), (std::vector<Finding>{{Kind::changed, pdf, ""}}));
    }
}

TEST_F(UpdateTest, OneProgramAtATime) {
    const fs::path folder = run(messages_).folder;
    {
        const Update first(request(messages_));
        EXPECT_THROW(Update(request(messages_)), UpdateError);
    }
    EXPECT_NO_THROW(Update(request(messages_)));
    renderer_.instead = [&](std::size_t) { EXPECT_THROW(Update(request(messages_)), UpdateError) << "a new export"; };
    fs::remove_all(folder);
    run(messages_);

    fs::remove_all(folder);
    files::createFolders(folder);
    files::writeAtomically(folder / "letter.txt", bytesOf("not an export"));
    EXPECT_THROW(update(messages_), UpdateError);
    EXPECT_THROW(verify(folder), UpdateError);
    EXPECT_EQ(namesIn(folder), std::vector<std::string>{"letter.txt"});
}

TEST_F(UpdateTest, AStrangersArchiveLeadsNowhere) {
    const fs::path folder = run(messages_).folder;
    const std::string attachments = "2024-03-05 0704 Kim - Last";
    files::writeAtomically(out_ / "secret", bytesOf("secret"));
    files::createFolders(out_ / "elsewhere");
    const std::string hash = hexOf(sha256(bytesOf("secret")));
    for (const std::string& name :
         {std::string("../secret"), (out_ / "secret").native(), std::string("x/../../secret")}) {
        files::writeAtomically(folder / Archive::sumsName, bytesOf(hash + "  " + name + "\n"));
        files::writeAtomically(folder / Archive::journalName,
                               bytesOf(R"({"name":"..","files":{")" + name + R"(":")" + hash + "\"}}\n" +
                                       R"({"claim":")" + name + "\"}\n"));
        fs::remove_all(folder / attachments);
        fs::create_directory_symlink("../elsewhere", folder / attachments);
        const auto findings = verify(folder);
        EXPECT_FALSE(findings.empty());
        for (const Finding& finding : findings) EXPECT_EQ(finding.name.find("secret"), std::string::npos);
        const ExportResult result = update(messages_);
        EXPECT_EQ(result.failed.size(), 2U) << "a link is no folder of attachments";
        EXPECT_EQ(content(out_ / "secret"), "secret");
        EXPECT_TRUE(fs::is_empty(out_ / "elsewhere"));
        fs::remove(folder / attachments);
    }
    fs::remove(folder / Archive::journalName);
    fs::create_symlink("../secret", folder / Archive::journalName);
    EXPECT_THROW(update(messages_), FileError);
    EXPECT_EQ(content(out_ / "secret"), "secret");
}

}   // namespace
}   // namespace ostrel
