// Every call to the file system that an export makes fails, one in each run: the disk may fill up, be pulled out or
// break at any of them.

#include "tests/core/export/ExportFixture.h"
#include "tests/core/export/Faults.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <optional>
#include <tuple>

namespace ostrel {
namespace {

namespace fs = std::filesystem;

class FaultTest : public ExportFixture {
protected:
    FaultTest() {
        settings_.attachments = true;
        EmlBuilder stored;
        stored.text("x").storedAttachment("plan.pdf", "application/pdf", 10);
        messages_ = {
            put("First", 1,
                EmlBuilder().text("x").attachment("a.txt", "text/plain", "A").attachment("b.txt", "text/plain", "B")),
            put("Second", 2, stored), put("Third", 3)};
        files::createFolders(mail_ / "Attachments/2/2");
        files::writeAtomically(mail_ / "Attachments/2/2/plan.pdf", bytesOf("plan"));
    }

    struct Outcome {
        std::optional<ExportResult> result;   // nothing when there is no folder
        bool hasFailed = false;               // the run
        std::size_t faults = 0;
    };
    Outcome runWith(std::size_t first, std::size_t count, int error, Faults::Disk disk) {
        fs::remove_all(out_ / "Export");   // each run makes the same calls
        const Faults faults(first, count, error, disk);
        Outcome outcome;
        try {
            outcome.result = run(messages_);
        } catch (const IndexError& failure) {
            outcome = {failure.result, true};
            EXPECT_FALSE(std::string(failure.what()).empty());
        } catch (const FileError& failure) {
            outcome.hasFailed = true;
            EXPECT_FALSE(std::string(failure.what()).empty());
        }
        outcome.faults = faults.happened();
        return outcome;
    }

    // What stands is whole, and what was told is true.
    void check(const Outcome& outcome) const {
        if (!outcome.result) return;
        const ExportResult& result = *outcome.result;
        EXPECT_EQ(result.exported + result.failed.size() + result.notTried, messages_.size());
        EXPECT_FALSE(result.cancelled);
        for (const auto& failure : result.failed) EXPECT_FALSE(failure.reason.empty());
        std::size_t pdfs = 0, attachments = 0;
        for (const auto& entry : fs::recursive_directory_iterator(result.folder)) {
            const fs::path name = entry.path().filename();
            EXPECT_FALSE(name.native().starts_with('.')) << name;
            if (entry.is_directory() || name == Archive::indexName || name == Archive::messagesName) continue;
            if (name == Archive::sumsName || name == Archive::journalName) continue;
            const bool isPDF = entry.path().parent_path() == result.folder;
            ++(isPDF ? pdfs : attachments);
            const std::string whole = name == "a.txt" ? "A" : name == "b.txt" ? "B" : "plan";
            EXPECT_TRUE(isPDF ? content(entry.path()).ends_with("</html>") : content(entry.path()) == whole) << name;
        }
        EXPECT_EQ(pdfs, result.exported);
        EXPECT_EQ(attachments, result.attachments);
        EXPECT_EQ(fs::exists(result.folder / Archive::journalName), outcome.hasFailed || !result.stopped.empty())
            << "a later run can go on";
        if (outcome.hasFailed) return;
        const auto rows = indexTails(result.folder);
        EXPECT_EQ(rows.size() + result.notTried, messages_.size());
        const auto isFailed = [](const std::string& row) { return row.ends_with("Couldn’t be read"); };
        EXPECT_EQ(std::ranges::count_if(rows, isFailed), static_cast<std::ptrdiff_t>(result.failed.size()));
        for (const auto& row : rows) EXPECT_EQ(isFailed(row), row.find(".pdf") == row.npos) << row;
    }

    std::vector<MessageSummary> messages_;
};

TEST_F(FaultTest, AnyCallMayFailOnce) {
    using enum Faults::Disk;
    for (const auto& [error, disk, atOnce] :
         {std::tuple{EIO, makesNamelessFiles, 1U}, std::tuple{EIO, doesNot, 4U},
          std::tuple{ENOSPC, makesNamelessFiles, 4U}, std::tuple{EACCES, doesNot, 1U}}) {
        renderer_.atOnce = atOnce;
        std::size_t call = 0, failedRuns = 0, failedMessages = 0;
        for (;; ++call) {
            SCOPED_TRACE("call " + std::to_string(call) + ", error " + std::to_string(error));
            const Outcome outcome = runWith(call, 1, error, disk);
            check(outcome);
            if (outcome.faults == 0) {
                EXPECT_EQ(outcome.result->attachments, 3U) << "bytes of messages, and a file stored beside them";
                break;
            }
            failedRuns += outcome.hasFailed;
            if (outcome.result) {
                EXPECT_LE(outcome.result->failed.size(), 1U);
                failedMessages += outcome.result->failed.size();
            }
        }
        EXPECT_GT(call, 40U) << "calls that a run makes";
        EXPECT_GE(failedRuns, 3U) << "the folder; writing and closing the index";
        EXPECT_GT(failedMessages, 20U);
    }
}

TEST_F(FaultTest, ADiskMayBeGoneFromAnyCallOn) {
    for (std::size_t call = 0;; ++call) {
        SCOPED_TRACE(call);
        const Outcome outcome = runWith(call, SIZE_MAX, ENOSPC, Faults::Disk::makesNamelessFiles);
        check(outcome);
        if (outcome.faults == 0) break;
        EXPECT_TRUE(outcome.hasFailed);
    }
}

}   // namespace
}   // namespace ostrel
