#include "core/message/MailMessage.h"
#include "core/page/MessageHTML.h"
#include "tests/pdf/SamplePDF.h"
#include "tests/platform/Surroundings.h"
#include "tests/render/EngineProcess.h"
#include "tests/render/Printing.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <future>
#include <memory>
#include <set>
#include <stop_token>
#include <string>
#include <string_view>
#include <vector>

namespace ostrel {
namespace {

using namespace std::chrono_literals;

Page pageOf(const std::string& html) {
    MailMessage mail;
    mail.subject = "The subject";
    mail.htmlBody = html;
    return MessageHTML::page(mail, "", "", std::nullopt, {});
}

bool kill(int times) {
    bool all = true;
    for (int i = 0; i < times; ++i) all = killBusyWebProcess() && all;
    return all;
}

// What becomes of a mail whose page the engine's process does not survive once, twice and at all.
TEST_F(Printing, PrintsInASimplerFormWhatEndsTheProcess) {
    const Page page = pageOf("<p style='text-indent:100px'><b>first</b>" + hundredsOfSheets());
    WebPDFRenderer patient(Paper::a4, {}, {.load = 5min, .print = 5min, .ladder = 10min});
    print("<p>starts the process", patient);
    for (const int kills : {1, 2, 3}) {
        auto killed = std::async(std::launch::async, kill, kills);
        const auto pdf = folder.path() / "simpler.pdf";
        const std::string note = patient.renderPDF(page, pdf, {.title = "", .author = "", .created = {}});
        EXPECT_TRUE(killed.get());
        const std::string text = readText(pdf);
        const char* const ours = kills == 1   ? "some were left out"
                                 : kills == 2 ? "styles and pictures were left out"
                                              : "only its text is shown";
        EXPECT_NE(note.find(ours), std::string::npos) << note;
        for (const char* const words : {"The subject", ours, "first", "Paragraph 19999 with office words"})
            EXPECT_NE(text.find(words), std::string::npos) << kills << ": " << words;
    }
    EXPECT_EQ(readText(print("<p>next", patient)), "next\n\n\f");
}

std::string repeated(std::string_view text, int times) {
    std::string all;
    for (int i = 0; i < times; ++i) all += text;
    return all;
}

// Pages that the engine prints without a word of complaint, and without words of the mail.
TEST_F(Printing, PrintsWordsThatItsFirstPageLacks) {
    const std::string lines = repeated("some words of the mail<br>", 40);
    const struct {
        const char* why;
        std::string html;
        const char* note;   // empty: printed as it is
    } rows[] = {
        {"tables too deep to be laid out", repeated("<table><tr><td>", 3000), "only its text"},
        {"a box too small", "<div style='height:20px;overflow:hidden'>" + lines, "effects"},
        {"a shape too small", "<div style='clip-path:circle(5px)'>" + lines, "effects"},
        {"nothing left of it", "<div style='transform:scale(0)'>" + lines, "effects"},
        {"pulled off the paper", "<div style='margin-left:-5000px'>" + lines, "left out"},
        {"boxes that a reader opens or scrolls",
         "<details><summary>s</summary><textarea rows=1>" + repeated("words\n", 40), ""},
        {"what only lists of mails show",
         "<p style='display:none'>hidden words</p><p style='visibility:hidden'>hidden words</p>"
         "<p style='opacity:0'>hidden words</p><p style='color:transparent'>hidden words</p>"
         "<p style='font-size:0'>hidden words</p><p style='max-height:0;overflow:hidden'>hidden words</p>"
         "<p style='width:1px;height:1px;overflow:hidden'>hidden words</p>"
         "<p style='position:absolute;left:-9999px'>hidden words</p><p style='text-indent:-9999px'>hidden words</p>",
         ""},
    };
    for (const auto& row : rows) {
        const auto pdf = folder.path() / "whole.pdf";
        const std::string note = renderer.renderPDF(pageOf(row.html + "<p>the last words"), pdf, {});
        EXPECT_EQ(note.empty(), row.note[0] == '\0') << row.why << ": " << note;
        EXPECT_NE(note.find(row.note), std::string::npos) << row.why << ": " << note;
        EXPECT_NE(readText(pdf).find("the last words"), std::string::npos) << row.why;
    }
}

// A mail in German stays one, whatever is left of its looks.
TEST_F(Printing, TellsTheLanguageInEveryForm) {
    for (const char* const html : {"<p>Wörter", "<div style='clip-path:circle(1px)'><p>viele deutsche Wörter"}) {
        for (const auto limit : {35'000ms, 0ms}) {
            WebPDFRenderer limited(Paper::a4, {}, {.ladder = limit});
            const auto pdf = folder.path() / "language.pdf";
            limited.renderPDF(pageOf("<html lang=de><body>" + std::string(html)), pdf, {});
            test::OpenedPDF opened(std::string(files::readWhole(pdf).chars()));
            EXPECT_TRUE(opened.file().getRoot().getKey("/Lang").isString() &&
                        opened.file().getRoot().getKey("/Lang").getUTF8Value() == "de")
                << html << limit.count();
        }
    }
}

TEST_F(Printing, NeedsNoEngineForTheWords) {
    const ScratchFolder broken;
    files::writeAtomically(broken / "libc.so.6", bytesOf("no library: no program starts"));
    print("<p>before");
    ASSERT_EQ(::kill(webProcess().value_or(0), SIGKILL), 0);
    std::vector<std::filesystem::path> printed;
    {
        const EnvironmentVariable libraries("LD_LIBRARY_PATH", broken.path().c_str());
        for (int i = 0; i < 2; ++i) printed.push_back(print("<p>words"));
    }
    for (const auto& pdf : printed) {
        const std::string text = readText(pdf);
        for (const char* const words : {"words", "engine could not be started"})
            EXPECT_NE(text.find(words), std::string::npos) << words;
    }
    EXPECT_NE(renderer.trouble(), "");
    EXPECT_EQ(readText(print("<p>next")), "next\n\n\f");
}

TEST_F(Printing, SetsTextOfAnyKind) {
    const std::string lines[] = {"Plain words, as in a log: a=1 (50 %)",
                                 "Äpfel “quoted” – naïve",
                                 "i\u0307stanbul e\u0301",
                                 "नमस्ते दुनिया",
                                 "ภาษาไทย",
                                 "日本語のテキスト 한국어",
                                 "private \uE123\uE124 signs",
                                 "unknown \U00030000\u0378 signs",
                                 "sheets of 😀 faces"};
    std::string body;
    for (const auto& line : lines) body += line + "\n\n";
    body += std::string(5'000, 'x') +
            "\na\tb\x01"
            "c\n" +
            std::string(100'000, '\n');
    for (int i = 0; i < 5'000; ++i) body += "\u0301";
    MailMessage mail;
    mail.subject = "The subject";
    mail.textBody = body + "\nlast";
    mail.attachments = {{"e.png", "image/png", {}, "2", Bytes("abc")}};
    WebPDFRenderer hurried(Paper::a4, {}, {.ladder = 0ms});
    const auto pdf = folder.path() / "text.pdf";
    EXPECT_NE(hurried.renderPDF(MessageHTML::page(mail, "", "5 March", std::nullopt, {}), pdf, {}), "");
    EXPECT_TRUE(hurried.lastReport().finished.isArchival);
    EXPECT_EQ(test::brokenArchivalRules(std::string(files::readWhole(pdf).chars())), std::vector<std::string>());
    EXPECT_LT(hurried.lastReport().finished.pages, 10u);
    const std::string text = readText(pdf);
    for (const auto& line : lines) EXPECT_NE(text.find(line), std::string::npos) << line;
    for (const char* const words : {"The subject", "5 March", "only its text is shown", "bc", "last", "e.png"})
        EXPECT_NE(text.find(words), std::string::npos) << words;
    EXPECT_EQ(std::ranges::count(text, 'x'), 5'000 + 1);   // one in the note
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

TEST_F(Printing, KeepsToItsLimits) {
    const Page page = pageOf("<p>first" + hundredsOfSheets());
    const struct {
        const char* why;
        PrintLimits limits;
        const char* note;
    } cases[] = {
        {"time for one step", {.load = 60s, .print = 1s, .perMegabyte = 0s}, "only its text is shown"},
        {"time for all steps", {.load = 60s, .print = 60s, .ladder = 1s}, "only its text is shown"},
        {"size of a file", {.load = 60s, .print = 60s, .ladder = 5min, .fileBytes = 1000}, "only its text is shown"},
    };
    for (const auto& c : cases) {
        WebPDFRenderer limited(Paper::a4, {}, c.limits);
        const auto pdf = folder.path() / "limited.pdf";
        EXPECT_NE(limited.renderPDF(page, pdf, {}).find(c.note), std::string::npos) << c.why;
        const std::string text = readText(pdf);
        for (const char* const words : {c.note, "first", "Paragraph 19999 with office words"})
            EXPECT_NE(text.find(words), std::string::npos) << c.why << ": " << words;
    }
    EXPECT_EQ(readText(print("<p>next")), "next\n\n\f");
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
