#include "tests/core/export/ExportFixture.h"

#include <algorithm>
#include <condition_variable>
#include <csignal>
#include <filesystem>
#include <mutex>
#include <new>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>
#include <sys/resource.h>

namespace ostrel {
namespace {

namespace fs = std::filesystem;

// While this lives, no file can grow larger: as on a disk that is nearly full, and also for root.
class FileSizeLimit {
public:
    explicit FileSizeLimit(rlim_t bytes) : handler_(std::signal(SIGXFSZ, SIG_IGN)) {
        ::getrlimit(RLIMIT_FSIZE, &before_);
        const rlimit limit = {.rlim_cur = bytes, .rlim_max = before_.rlim_max};
        ::setrlimit(RLIMIT_FSIZE, &limit);
    }
    FileSizeLimit(const FileSizeLimit&) = delete;
    FileSizeLimit& operator=(const FileSizeLimit&) = delete;
    ~FileSizeLimit() {
        ::setrlimit(RLIMIT_FSIZE, &before_);
        std::signal(SIGXFSZ, handler_);
    }

private:
    rlimit before_ = {};
    void (*handler_)(int);
};

using ExporterTest = ExportFixture;

TEST_F(ExporterTest, MessagesBecomeFilesOldestFirst) {
    const ExportResult result = run({put("Second", 5), put("First", 1),
                                     put("First", 1,
                                         EmlBuilder()
                                             .text("x")
                                             .attachment("a/b.txt", "text/plain", "A")
                                             .attachment("A b.TXT", "text/plain", "B"))});
    EXPECT_EQ(result, (ExportResult{out_ / "Export", 3, 2, {}, false}));
    EXPECT_EQ(
        namesIn(result.folder),
        (std::vector<std::string>{"2024-03-05 0701 Kim - First (2)", "2024-03-05 0701 Kim - First (2).pdf",
                                  "2024-03-05 0701 Kim - First.pdf", "2024-03-05 0705 Kim - Second.pdf", "index.csv"}));
    EXPECT_EQ(content(result.folder / "2024-03-05 0701 Kim - First (2)" / "a b.txt"), "A");
    EXPECT_EQ(content(result.folder / "2024-03-05 0701 Kim - First (2)" / "A b (2).TXT"), "B");
    EXPECT_NE(
        content(result.folder / "2024-03-05 0701 Kim - First (2).pdf").find("2024-03-05 0701 Kim - First (2)”</p>"),
        std::string::npos);
    EXPECT_EQ(
        indexTails(result.folder),
        (std::vector<std::string>{"0,2024-03-05 0701 Kim - First.pdf,,C0001,2@x,",
                                  "2,2024-03-05 0701 Kim - First (2).pdf,2024-03-05 0701 Kim - First (2),C0002,3@x,",
                                  "0,2024-03-05 0705 Kim - Second.pdf,,C0003,1@x,"}));
    EXPECT_EQ(progress_, (std::vector<ExportProgress>{{0, 3, "First"}, {1, 3, "First"}, {2, 3, "Second"}, {3, 3, ""}}));
    EXPECT_EQ(renderer_.infos[0].title, "First");
    EXPECT_EQ(renderer_.savedFiles[1], (std::vector<std::string>{"2024-03-05 0701 Kim - First (2)/a b.txt",
                                                                 "2024-03-05 0701 Kim - First (2)/A b (2).TXT"}));
    EXPECT_EQ(run({}).folder, out_ / "Export (2)");
}

TEST_F(ExporterTest, OneBadMessageIsNotedAndTheRunGoesOn) {
    const MessageSummary gone = put("Gone", 1), damaged = put("", 2), fails = put("Fails", 3), huge = put("Huge", 4),
                         good = put("Good", 5);
    fs::remove(gone.url);
    files::writeAtomically(damaged.url, bytesOf("no message"));
    renderer_.instead = [](std::size_t call) {
        if (call == 1) throw RenderError(RenderError::Kind::engineCrashed, "The engine crashed.");
        if (call == 2) throw std::bad_alloc();
    };
    const ExportResult result = run({gone, damaged, fails, huge, good});
    EXPECT_EQ(result.exported, 1U);
    ASSERT_EQ(result.failed.size(), 4U);
    EXPECT_EQ(result.failed[0].name, "Gone");
    EXPECT_NE(result.failed[0].reason.find("1.emlx"), std::string::npos) << result.failed[0].reason;
    EXPECT_EQ(result.failed[1], (ExportResult::Failure{"2.emlx", "The file is not a mail message."}));
    EXPECT_EQ(result.failed[2], (ExportResult::Failure{"Fails", "The engine crashed."}));
    EXPECT_EQ(result.failed[3], (ExportResult::Failure{"Huge", "There is not enough memory for this message."}));
    EXPECT_EQ(indexTails(result.folder),
              (std::vector<std::string>{"0,,,C0001,1@x,Couldn’t be read", "0,,,C0002,2@x,Couldn’t be read",
                                        "0,,,C0003,3@x,Couldn’t be read", "0,,,C0004,4@x,Couldn’t be read",
                                        "0,2024-03-05 0705 Kim - Good.pdf,,C0005,5@x,"}));
}

TEST_F(ExporterTest, AttachmentsThatCannotBeHadOrSaved) {
    EmlBuilder stored;
    stored.text("x").storedAttachment("gone.pdf", "application/pdf", 10).attachment("here.txt", "text/plain", "A");
    const MessageSummary missing = put("Missing", 1, stored);
    // Of its two attachments the second does not fit the disk, nor would a page as large.
    const MessageSummary tooLarge = put("Too large", 2,
                                        EmlBuilder()
                                            .text("x")
                                            .attachment("a.txt", "text/plain", "A")
                                            .attachment("b.bin", "application/zip", std::string(300000, 'b')));
    const FileSizeLimit limit(200000);
    renderer_.simplifiedTitle = "Good";
    const ExportResult result = run({missing, tooLarge, put("Good", 3)});
    EXPECT_EQ(result.simplified, (std::vector<ExportResult::Simplified>{{"Good", "Simpler."}})) << "and is exported";
    EXPECT_EQ(result.attachments, 2U) << "what was saved counts and stays";
    EXPECT_EQ(result.exported, 2U);
    ASSERT_EQ(result.failed.size(), 1U);
    EXPECT_NE(result.failed[0].reason.find("b.bin"), std::string::npos) << result.failed[0].reason;
    EXPECT_EQ(indexTails(result.folder),
              (std::vector<std::string>{"1,2024-03-05 0701 Kim - Missing.pdf,2024-03-05 0701 Kim - Missing,C0001,1@x,"
                                        "Attachments: not downloaded by Mail",
                                        "1,,,C0002,2@x,Couldn’t be read",
                                        "0,2024-03-05 0703 Kim - Good.pdf,,C0003,3@x,Simpler."}));
    EXPECT_EQ(namesIn(result.folder / "2024-03-05 0702 Kim - Too large"), std::vector<std::string>{"a.txt"});
    EXPECT_EQ(renderer_.savedFiles[0], (std::vector<std::string>{"", "2024-03-05 0701 Kim - Missing/here.txt"}));
}

TEST_F(ExporterTest, NoNameStandsInTheWayOfAnother) {
    const EmlBuilder withFile = EmlBuilder().text("x").attachment("a.txt", "text/plain", "A");
    const ExportResult result =
        run({put("Scan", 1), put("Scan.pdf", 1, withFile), put("Plan.pdf", 2, withFile), put("Plan", 2)});
    EXPECT_EQ(result.exported, 4U) << "the folder of one is called like the PDF of the other";
    EXPECT_EQ(namesIn(result.folder),
              (std::vector<std::string>{"2024-03-05 0701 Kim - Scan.pdf", "2024-03-05 0701 Kim - Scan.pdf (2)",
                                        "2024-03-05 0701 Kim - Scan.pdf (2).pdf", "2024-03-05 0702 Kim - Plan (2).pdf",
                                        "2024-03-05 0702 Kim - Plan.pdf", "2024-03-05 0702 Kim - Plan.pdf.pdf",
                                        "index.csv"}));
}

TEST_F(ExporterTest, SwitchesLeaveThingsOut) {
    const auto message = [&] { return put("A", 1, EmlBuilder().text("x").attachment("a.txt", "text/plain", "A")); };
    settings_.attachments = false;
    ExportResult result = run({message()});
    EXPECT_EQ(namesIn(result.folder), (std::vector<std::string>{"2024-03-05 0701 Kim - A.pdf", "index.csv"}));
    EXPECT_EQ(content(result.folder / "2024-03-05 0701 Kim - A.pdf").find("Saved in the folder"), std::string::npos);

    settings_ = ExportSettings("No PDFs");
    settings_.pdfs = settings_.csv = false;
    settings_.calendar = Calendar::utc();
    result = run({message()});
    EXPECT_EQ(namesIn(result.folder), (std::vector<std::string>{"2024-03-05 0701 Kim - A"}));
    EXPECT_EQ(result.exported, 1U);
    EXPECT_EQ(result.attachments, 1U);
}

TEST_F(ExporterTest, CancellingKeepsWhatIsDone) {
    std::vector<MessageSummary> messages;
    for (int i = 1; i <= 10; ++i) messages.push_back(put("M" + std::to_string(i), i));
    renderer_.instead = [&](std::size_t call) {
        if (call == 3) cancel_.request_stop();
    };
    ExportResult result = run(messages);
    EXPECT_TRUE(result.cancelled);
    EXPECT_EQ(result.exported, 3U);
    EXPECT_EQ(indexTails(result.folder).size(), 3U) << "the message at hand is finished";
    EXPECT_EQ(progress_.back(), (ExportProgress{2, 10, "M3"}));

    cancel_ = std::stop_source();
    renderer_.instead = [](std::size_t) { throw RenderCancelled(); };
    result = run(messages);
    EXPECT_TRUE(result.cancelled);
    EXPECT_TRUE(result.failed.empty());
    EXPECT_TRUE(indexTails(result.folder).empty()) << "a message that the renderer gave up has no row";
}

TEST_F(ExporterTest, HowManyAreUnderWayDoesNotShow) {
    const EmlBuilder withFile = EmlBuilder().text("x").attachment("a.txt", "text/plain", "A");
    std::vector<MessageSummary> messages;
    for (int minute = 0; minute < 10; ++minute) {
        messages.push_back(put("Slow " + std::to_string(minute), minute));
        for (int i = 0; i < 4; ++i) messages.push_back(put("Other", minute));
        // Its folder may have this name only if the PDF that wants it fails.
        messages.push_back(put(minute % 5 == 0 ? "Fails" : "Scan", minute));
        messages.push_back(put(minute % 5 == 0 ? "Fails.pdf" : "SCAN.PDF", minute, withFile));
        messages.push_back(put("Scan", minute, withFile));
        messages.push_back(put("Unread", minute));
        files::writeAtomically(messages.back().url, bytesOf("no message"));
    }
    std::mutex mutex;
    std::condition_variable hasPrinted;
    constexpr std::size_t pages = 80;
    std::size_t printed = 0;
    renderer_.before = [&](const std::string& title) {
        std::unique_lock held(mutex);
        ++printed;
        hasPrinted.notify_all();
        // Those behind it overtake it.
        if (title.starts_with("Slow") && renderer_.atOnce > 1)
            hasPrinted.wait(held, [&, until = std::min(printed + 4, pages)] { return printed >= until; });
        if (title.starts_with("Fails")) throw RenderError(RenderError::Kind::tooSlow, title);
    };
    const ExportResult alone = run(messages);
    const auto files = everything(alone.folder);
    const auto reports = std::exchange(progress_, {});
    EXPECT_EQ(alone.failed.size(), 10U + 2);
    EXPECT_EQ(std::exchange(printed, 0), pages);
    renderer_.atOnce = 4;
    fs::remove_all(alone.folder);
    EXPECT_EQ(run(messages), alone);
    EXPECT_EQ(everything(alone.folder), files);
    EXPECT_EQ(progress_, reports);
}

TEST_F(ExporterTest, CancellingFinishesAllThatAreUnderWay) {
    std::vector<MessageSummary> messages;
    for (int i = 1; i <= 50; ++i) messages.push_back(put("M" + std::to_string(i), i));
    renderer_.atOnce = 4;
    renderer_.before = [&](const std::string& title) {
        if (title == "M20") cancel_.request_stop();
        // Those behind it wait for the stop, which could otherwise come after the last.
        while (std::stoi(title.substr(1)) > 20 && !cancel_.stop_requested()) std::this_thread::yield();
    };
    const ExportResult result = run(messages);
    EXPECT_TRUE(result.cancelled);
    EXPECT_GE(result.exported, 20U);
    EXPECT_LT(result.exported, 50U);
    const auto rows = indexTails(result.folder);
    ASSERT_EQ(rows.size(), result.exported);
    for (std::size_t i = 0; i < rows.size(); ++i)
        EXPECT_NE(rows[i].find("- M" + std::to_string(i + 1) + ".pdf"), std::string::npos) << rows[i];
    EXPECT_EQ(namesIn(result.folder).size(), rows.size() + 1);
}

TEST_F(ExporterTest, ADestinationThatVanishesIsReported) {
    files::writeAtomically(out_ / "file", bytesOf("x"));
    EXPECT_THROW(Exporter::run({}, {}, out_ / "file", settings_, renderer_, [](const ExportProgress&) {}, {}),
                 FileError);

    settings_.attachments = true;
    const MessageSummary first = put("First", 1);
    const MessageSummary second = put("Second", 2, EmlBuilder().text("x").attachment("a.txt", "text/plain", "A"));
    renderer_.instead = [&](std::size_t) { fs::remove_all(out_ / "Export"); };
    try {
        run({first, second});
        FAIL() << "the index cannot be written";
    } catch (const IndexError& error) {
        EXPECT_EQ(error.result.failed.size(), 1U) << "what was done is known all the same";
        EXPECT_EQ(error.result.notTried, 1U);
        EXPECT_EQ(error.result.stopped, "The export folder is gone.");
    }
    EXPECT_FALSE(fs::exists(out_ / "Export")) << "another disk is there now, on which nobody wants a part of an export";
}

TEST_F(ExporterTest, AFullDiskEndsTheRunButNotAMessageTooLargeForIt) {
    const auto full = [] {
        throw FileError::writing("/out/a.pdf", std::make_error_code(std::errc::no_space_on_device));
    };
    std::vector<MessageSummary> messages;
    for (int i = 1; i <= 6; ++i) messages.push_back(put("M" + std::to_string(i), i));
    settings_.csv = false;
    renderer_.instead = [&](std::size_t call) {
        if (call == 1) throw RenderError(RenderError::Kind::tooSlow, "Too slow.");
        if (call == 2 || call >= 4) full();
    };
    const ExportResult result = run(messages);
    EXPECT_EQ(result.exported, 1U);
    EXPECT_EQ(result.stopped, "The disk is full.");
    EXPECT_EQ(result.notTried, 1U);
    EXPECT_FALSE(result.cancelled);
    EXPECT_EQ(result.causes(), (std::vector<ExportResult::Cause>{{"the disk is full", 3}, {"Too slow.", 1}}));
    EXPECT_NE(result.failed[1].reason.find("a.pdf"), std::string::npos);
    EXPECT_EQ(progress_.back().done, 4U) << "no report of an end";
}

}   // namespace
}   // namespace ostrel
