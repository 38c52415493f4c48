#include "core/message/MailMessage.h"
#include "core/page/MessageHTML.h"
#include "render/loop/GRef.h"
#include "render/loop/MainLoop.h"
#include "render/view/EngineView.h"
#include "render/view/WebPreview.h"
#include "tests/render/EngineProcess.h"
#include "tests/render/LoopbackServer.h"
#include "tests/render/TemptingPage.h"

#include <algorithm>
#include <csignal>
#include <future>
#include <memory>
#include <semaphore>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <webkit/webkit.h>

namespace ostrel {
namespace {

using namespace std::chrono_literals;

void onMain(const std::function<void()>& task) {
    std::promise<void> done;
    mainLoop::post([&] {
        task();
        done.set_value();
    });
    done.get_future().wait();
}

class WebPreviewTest : public testing::Test {
protected:
    WebPreviewTest() { make({}); }
    ~WebPreviewTest() override {
        onMain([&] { preview_.reset(); });
    }
    void make(PreviewPatience patience) {
        onMain([&] {
            preview_ = std::make_unique<WebPreview>([&](const std::string& url) { opened_.push_back(url); }, patience);
            preview_->onLoaded = [&] { loaded_.release(); };
        });
    }
    void give(const std::string& html) {
        onMain([&] { preview_->update(html); });
    }
    void show(const std::string& html) {
        give(html);
        loaded_.acquire();
    }
    bool isLoaded() { return loaded_.try_acquire(); }

    // What an expression is in the page that is shown.
    std::string inPage(const std::string& expression) {
        std::promise<std::string> value;
        mainLoop::post([&] {
            const auto finished = [](GObject* view, GAsyncResult* result, gpointer data) noexcept {
                const auto got = GRef<JSCValue>::adopt(
                    webkit_web_view_evaluate_javascript_finish(WEBKIT_WEB_VIEW(view), result, nullptr));
                static_cast<std::promise<std::string>*>(data)->set_value(
                    got ? GChars(jsc_value_to_string(got.get())).get() : "no answer");
            };
            webkit_web_view_evaluate_javascript(WEBKIT_WEB_VIEW(preview_->widget()), expression.c_str(), -1,
                                                EngineView::isolatedWorld, nullptr, nullptr, finished, &value);
        });
        return value.get_future().get();
    }
    std::string text() { return inPage("document.body.innerText.trim()"); }

    std::unique_ptr<WebPreview> preview_;
    std::vector<std::string> opened_;
    std::counting_semaphore<> loaded_{0};
};

TEST_F(WebPreviewTest, AddsThePaddingToTheFirstStyleSheetOnly) {
    const struct {
        const char* why;
        const char* page;
        const char* expected;
    } rows[] = {
        {"the end of the first", "<style>a{}</style><style>b{}</style>",
         "<style>a{}body{background:#fff;padding:18px 22px}</style><style>b{}</style>"},
        {"no style sheet", "<p>text", "<p>text"},
        {"another case is not ours", "<STYLE></STYLE>", "<STYLE></STYLE>"},
        {"empty", "", ""},
    };
    for (const auto& row : rows) EXPECT_EQ(WebPreview::withPadding(row.page), row.expected) << row.why;
    show("<style>p{color:red}</style><p>text</p>");
    EXPECT_EQ(inPage("getComputedStyle(document.body).padding"), "18px 22px");
}

TEST_F(WebPreviewTest, PutsAMailIntoItsFrame) {
    MailMessage mail;
    mail.subject = "The subject";
    mail.attachments = {
        {.filename = "report.txt", .mimeType = "text/plain", .contentID = {}, .partNumber = "2", .source = Bytes()}};
    mail.htmlBody =
        "<style>h1, html, ostrel-frame { display: none !important }</style>"
        "<p style='position:absolute;top:-99px;height:900px;width:100%;z-index:9'>text<textarea>";
    show(MessageHTML::page(mail, "", "", std::nullopt, {}).html);
    EXPECT_EQ(inPage("[...document.documentElement.children].map(box => box.localName).join(' ')"),
              "head ostrel-frame ostrel-frame body ostrel-frame");
    const std::string frame = "document.getElementsByTagName('ostrel-frame')";
    EXPECT_EQ(inPage(frame + "[1].shadowRoot"), "null") << "closed";
    EXPECT_EQ(inPage(frame + "[1].getBoundingClientRect().top"), "0");
    EXPECT_EQ(inPage(frame + "[1].getBoundingClientRect().height > 60"), "true");
    EXPECT_EQ(inPage("document.querySelector('textarea').value"), "");
}

TEST_F(WebPreviewTest, LoadsAPageOnceAndTheLastOfASeries) {
    show("<p>one");
    EXPECT_EQ(inPage("window.seen = 1"), "1");
    give("<p>one");
    EXPECT_EQ(inPage("window.seen"), "1") << "not loaded again, and in the same world";
    for (int i = 0; i < 50; ++i) give("<p>page " + std::to_string(i));
    onMain([&] {
        for (int i = 50; i < 100; ++i) preview_->update("<p>page " + std::to_string(i));
    });
    do loaded_.acquire();
    while (text() != "page 99");
    EXPECT_FALSE(isLoaded());
    show("");
    EXPECT_EQ(text(), "");
}

TEST_F(WebPreviewTest, AsksNobodyAndRunsNothing) {
    const LoopbackServer server;
    show(temptingPage(server.port()));
    EXPECT_NE(text().find("END"), std::string::npos);
    show("<p>text<script>document.body.innerHTML='run'</script><img src=x onerror=\"document.body.innerHTML='run'\">");
    EXPECT_EQ(text(), "text");
    EXPECT_EQ(server.connections(), 0);
    EXPECT_TRUE(opened_.empty());
}

TEST_F(WebPreviewTest, OpensLinksOutsideAndStays) {
    show(
        "<p>mail<a href='https://a.example/x?y'>1</a><a href='mailto:kim@a.example'>2</a><a href='file:///etc/passwd'>3"
        "</a><a href='ftp://a.example'>4</a><a href='HTTP://b.example/' target=_blank>5</a><a href='about:blank'>6</a>"
        "<a href='javascript:document.body.remove()'>7</a><a href='relative'>8</a><a href='data:text/html,x'>9</a>");
    inPage("document.querySelectorAll('a').forEach(a => a.click())");
    EXPECT_EQ(text(), "mail123456789");
    for (int i = 1; i < 9; ++i) inPage("document.querySelectorAll('a')[" + std::to_string(i) + "].click()");
    EXPECT_EQ(text(), "mail123456789");
    EXPECT_NE(std::ranges::find(opened_, "mailto:kim@a.example"), opened_.end());
    EXPECT_NE(std::ranges::find(opened_, "http://b.example/"), opened_.end());
    for (const auto& url : opened_) EXPECT_TRUE(url.starts_with("http") || url.starts_with("mailto:")) << url;
}

TEST_F(WebPreviewTest, FollowsLinksWithinThePage) {
    show("<a href='#end'>down</a><div style='height:9000px'></div><p id=end>end");
    inPage("document.querySelector('a').click()");
    std::string place;
    for (int i = 0; i < 1000 && (place.empty() || place == "0"); ++i) place = inPage("scrollY");
    EXPECT_NE(place, "0");
    EXPECT_EQ(text(), "down\nend");
    EXPECT_TRUE(opened_.empty());
}

// The lines are those of the sheet however wide the view is and however large the page is shown.
TEST_F(WebPreviewTest, LaysOutAsOnPaperAndScalesToTheView) {
    const auto setWidth = [&](int pixels) {
        onMain([&] {
            gtk_widget_allocate(preview_->widget(), pixels, 600, -1, nullptr);
            preview_->setWidth(pixels);
        });
    };
    const std::string lines =
        "(() => { const all = document.createRange(); all.selectNodeContents(document.querySelector('p'));"
        "return new Set([...all.getClientRects()].map(line => Math.round(line.top))).size; })()";
    const std::string overflow =
        "Math.round(document.scrollingElement.scrollWidth / document.scrollingElement.clientWidth * 10)";
    std::string words;
    for (int i = 0; i < 200; ++i) words += "words of a letter ";
    const std::string style = "<style>@media (max-width:600px){b{display:none}}</style><p style='font-size:11px'>";

    setWidth(677);
    show(style + words + "<b>wide</b>");
    const std::string onPaper = inPage(lines);
    EXPECT_GT(std::stoi(onPaper), 20);
    const auto setOverlay = [](gboolean is) {
        onMain([=] { g_object_set(gtk_settings_get_default(), "gtk-overlay-scrolling", is, nullptr); });
    };
    for (const int width : {250, 300, 1100}) {
        setOverlay(width != 250);   // a scroll bar beside the page takes room from it
        onMain([&] { preview_ = nullptr; });
        make({});
        setWidth(width);
        show(style + words + "<b>wide</b>");
        EXPECT_EQ(inPage(lines), onPaper) << width;
        EXPECT_EQ(inPage(overflow), "10") << "nothing to scroll sideways at " << width;
        EXPECT_EQ(inPage("getComputedStyle(document.querySelector('b')).display"), "inline") << "as wide as paper";
    }
    setOverlay(TRUE);
    onMain([&] { preview_->setZoom(2); });
    EXPECT_EQ(inPage(lines), onPaper);
    EXPECT_EQ(inPage(overflow), "20");
    onMain([&] { preview_->setZoom(1); });
    show("<table width=1500><tr><td>wide</table>");
    EXPECT_EQ(inPage(overflow), "10") << "print makes it narrower, too";
    show("<!DOCTYPE html><p style='font-size:80px'>narrow");
    const std::string length = "document.scrollingElement.scrollHeight <= innerHeight + 1";
    onMain([&] { preview_->setZoom(8); });
    EXPECT_EQ(inPage(length), "false");
    onMain([&] { preview_->setZoom(1); });
    EXPECT_EQ(inPage(length), "true") << "nothing stays of the larger page";
    EXPECT_EQ(inPage("Math.round(innerWidth / 10)"), "68") << "and the next page has its own width";
}

TEST_F(WebPreviewTest, ReadsHowThePageBegins) {
    show("<style>p{}</style><p> One\n two <b>three</b><p style='display:none'>hidden<p>&lt;four");
    EXPECT_EQ(preview_->text(), "One two three <four");
    std::string endless = "<p>";
    for (int i = 0; i < 100'000; ++i) endless += "word ";
    show(endless);
    EXPECT_GT(preview_->text().size(), 1000u);
    EXPECT_LT(preview_->text().size(), 2100u);
    show("<img name=body><img name=createTreeWalker><p>pictures that are called like the page's own");
    EXPECT_EQ(preview_->text(), "pictures that are called like the page's own");
}

TEST_F(WebPreviewTest, FindsInThePage) {
    std::promise<std::size_t> matches;
    onMain([&] { preview_->onFound = [&](std::size_t count) { matches.set_value(count); }; });
    show("<p>Apple, apples, pear");
    const auto count = [&](const std::string& text) {
        matches = {};
        onMain([&] { preview_->find(text); });
        return matches.get_future().get();
    };
    EXPECT_EQ(count("apple"), 2u);
    EXPECT_EQ(count("plum"), 0u);
}

TEST_F(WebPreviewTest, TellsWhereALinkLeads) {
    std::string link = "none yet";
    onMain([&] { preview_->onLink = [&](const std::string& url) { link = url; }; });
    show("<p><a href='https://a.example/x'>one</a> <button>two");
    inPage("document.querySelector('a').focus()");
    inPage("1");   // what the page told before has come
    onMain([&] { EXPECT_EQ(link, "https://a.example/x"); });
    inPage("document.querySelector('a').blur()");
    inPage("1");
    onMain([&] { EXPECT_EQ(link, ""); });
}

TEST_F(WebPreviewTest, IsLightOnADarkDesktop) {
    const auto dark = [](gboolean is) {
        onMain([=] { g_object_set(gtk_settings_get_default(), "gtk-application-prefer-dark-theme", is, nullptr); });
    };
    dark(TRUE);
    show(
        "<style>:root{color-scheme:light dark}@media (prefers-color-scheme:dark){p{color:#123456}}"
        "@media screen and (prefers-color-scheme: light){p{margin:7px}}</style><p>text<i style='color:CanvasText'>x");
    EXPECT_EQ(inPage("matchMedia('(prefers-color-scheme: dark)').matches"), "true") << "nothing is tested otherwise";
    EXPECT_EQ(inPage("getComputedStyle(document.querySelector('p')).color"), "rgb(0, 0, 0)");
    EXPECT_EQ(inPage("getComputedStyle(document.querySelector('i')).color"), "rgb(0, 0, 0)");
    EXPECT_EQ(inPage("getComputedStyle(document.querySelector('p')).margin"), "7px");
    dark(FALSE);
}

// A process that is stopped is as good as one whose page keeps it busy for ever.
TEST_F(WebPreviewTest, GoesOnWithANewProcessWhereTheOldOneHangs) {
    onMain([&] { preview_.reset(); });
    make({.next = 300ms, .start = 20s, .limits = {}});
    show("<p>one");
    const auto hung = webProcess();
    ASSERT_TRUE(hung);
    kill(*hung, SIGSTOP);
    show("<p>two");
    EXPECT_EQ(text(), "two");
    EXPECT_NE(webProcess(), hung);
}

TEST_F(WebPreviewTest, EndsAPageThatTakesTooLong) {
    onMain([&] { preview_.reset(); });
    make({.next = 20s, .start = 20s, .limits = {.load = 0ms, .print = 0ms, .perMegabyte = 0ms}});
    const std::string endless(20'000'000, '<');
    show(endless);
    give("<p>next");
    onMain([&] { preview_.reset(); });
    SUCCEED() << "and one that is under way goes with its view";
}

TEST_F(WebPreviewTest, OutlivesCrashesOfTheWebProcess) {
    for (const std::string page : {"one", "two"}) {
        show("<p>" + page);
        const auto process = webProcess();
        ASSERT_TRUE(process);
        kill(*process, SIGKILL);
        loaded_.acquire();   // that it has failed
        show("<p>" + page);
        EXPECT_EQ(text(), page) << "the same page again";
    }
}

}   // namespace
}   // namespace ostrel
