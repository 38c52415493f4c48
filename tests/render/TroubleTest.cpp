#include "core/message/MailMessage.h"
#include "core/page/MessageHTML.h"
#include "tests/platform/Surroundings.h"
#include "tests/render/EngineProcess.h"
#include "tests/render/Printing.h"

#include <chrono>
#include <csignal>
#include <future>
#include <memory>
#include <set>
#include <stop_token>

namespace ostrel {
namespace {

using namespace std::chrono_literals;
using Kind = RenderError::Kind;

TEST_F(Printing, OutlivesACrashOfTheWebProcess) {
    print("<p>starts the process");
    auto killed = std::async(std::launch::async, killBusyWebProcess);
    const auto lost = folder.path() / "lost.pdf";
    EXPECT_EQ(failure(renderer, hundredsOfSheets(), lost), Kind::engineCrashed);
    EXPECT_TRUE(killed.get());
    EXPECT_FALSE(files::exists(lost));
    EXPECT_EQ(readText(print("<p>next")), "next\n\n\f");
}

// What becomes of a mail whose page the engine's process does not survive once, and does not survive twice.
TEST_F(Printing, PrintsInASimplerFormWhatEndsTheProcess) {
    MailMessage mail;
    mail.subject = "The subject";
    mail.htmlBody = "<p style='text-indent:100px'><b>first</b>" + hundredsOfSheets();
    const Page page = MessageHTML::page(mail, "", "", std::nullopt, {});
    WebPDFRenderer patient(Paper::a4, {}, {.load = 5min, .print = 5min});
    print("<p>starts the process", patient);
    for (const int kills : {1, 2}) {
        auto killed = std::async(std::launch::async, [kills] {
            bool all = true;
            for (int i = 0; i < kills; ++i) all = killBusyWebProcess() && all;
            return all;
        });
        const auto pdf = folder.path() / "simpler.pdf";
        patient.renderPDF(page, pdf, {.title = mail.subject, .author = "", .created = {}});
        EXPECT_TRUE(killed.get());
        const std::string text = readText(pdf);
        const char* const note = kills == 1 ? "some were left out" : "only its text is shown";
        for (const char* const words : {"The subject", note, "first", "Paragraph 19999 with office words"})
            EXPECT_NE(text.find(words), std::string::npos) << kills << ": " << words;
    }
}

TEST_F(Printing, OutlivesEngineProcessesThatEndAsTheyStart) {
    const ScratchFolder broken;
    files::writeAtomically(broken / "libc.so.6", bytesOf("no library: no program starts"));
    print("<p>before");
    ASSERT_EQ(kill(webProcess().value_or(0), SIGKILL), 0);
    {
        const EnvironmentVariable libraries("LD_LIBRARY_PATH", broken.path().c_str());
        for (int i = 0; i < 4; ++i) {
            EXPECT_EQ(failure(renderer, "<p>lost", folder.path() / "lost.pdf"), Kind::engineCrashed) << i;
        }
    }
    EXPECT_EQ(readText(print("<p>next")), "next\n\n\f");
}

TEST_F(Printing, TakesAFreshProcessNowAndThen) {
    WebPDFRenderer renewing(Paper::a4, {}, {.pagesPerProcess = 3});
    std::set<int> processes;
    for (int page = 1; page <= 7; ++page) {
        const std::string word = "page" + std::to_string(page);
        EXPECT_EQ(readText(print("<p>" + word, renewing)), word + "\n\n\f");
        processes.insert(webProcess().value_or(0));
    }
    EXPECT_EQ(processes.size(), 3u);
}

TEST_F(Printing, GivesUpAPageThatTakesTooLong) {
    WebPDFRenderer hurried(Paper::a4, {}, {.load = 60s, .print = 1s, .perMegabyte = 0s});
    const auto lost = folder.path() / "lost.pdf";
    EXPECT_EQ(failure(hurried, hundredsOfSheets(), lost), Kind::tooSlow);
    EXPECT_FALSE(files::exists(lost));
    EXPECT_EQ(readText(print("<p>next", hurried)), "next\n\n\f");
}

TEST_F(Printing, LeavesNothingWhereItCannotWrite) {
    files::createFolders(folder.path() / "taken.pdf");
    for (const char* name : {"no such folder/page.pdf", "taken.pdf"}) {
        EXPECT_THROW(renderer.renderPDF(makePage("<p>text"), folder.path() / name, {}), FileError) << name;
    }
    EXPECT_EQ(files::list(folder.path()).size(), 1u);
    EXPECT_EQ(readText(print("<p>next")), "next\n\n\f");
}

TEST_F(Printing, BeginsNoPageOnceCancelled) {
    std::stop_source stop;
    WebPDFRenderer cancellable(Paper::a4, stop.get_token());
    print("<p>before", cancellable);
    stop.request_stop();
    EXPECT_THROW(print("<p>after", cancellable), RenderCancelled);
    EXPECT_EQ(files::list(folder.path()).size(), 1u);
}

TEST_F(Printing, MayGoAwayOnAnyThreadAndWhileOthersPrint) {
    { WebPDFRenderer unused(Paper::letter); }
    auto other = std::make_unique<WebPDFRenderer>(Paper::letter);
    print("<p>one", *other);
    other.reset();
    EXPECT_EQ(readText(print("<p>two")), "two\n\n\f");
}

}   // namespace
}   // namespace ostrel
