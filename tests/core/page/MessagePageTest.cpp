#include "core/page/MessageHTML.h"
#include "platform/LocaleFormat.h"

#include <filesystem>
#include <string>

#include <gtest/gtest.h>

namespace ostrel {
namespace {

MailMessage letter() {
    MailMessage message;
    message.subject = "Fish & \"chips\"";
    message.from = {{"Kim <K>", "kim@example.com"}};
    message.to = {{"", "lee@example.com"}};
    message.textBody = "Hello\n";
    return message;
}

std::string page(const MailMessage& message, const std::string& mailbox = "",
                 const std::optional<std::string>& folder = std::nullopt, const PageLabels& labels = {}) {
    return MessageHTML::page(message, mailbox, "5 March", folder, labels).html;
}

// From the first `begin` to just before the next `end`, both as written; empty when there is no such stretch.
std::string between(const std::string& page, const std::string& begin, const std::string& end) {
    const auto from = page.find(begin);
    if (from == std::string::npos) return "";
    const auto to = page.find(end, from + begin.size());
    return to == std::string::npos ? "" : page.substr(from + begin.size(), to - from - begin.size());
}

std::string content(const MailMessage& message) { return between(page(message), "<main>", "</main>"); }

MailAttachment attachment(std::string name, MailAttachment::Source source) {
    return {std::move(name), "image/png", std::nullopt, "2", std::move(source)};
}

TEST(MessagePage, NamesTheLanguageOfTheMail) {
    const struct {
        const char *html, *expected;
    } rows[] = {
        {"<!DOCTYPE html><HTML dir=ltr LANG='de-CH'><p lang=fr>Hoi</p></html>", "de-CH"},
        {"<html xmlns=\"x\" lang=zh-Hant-TW><p>Hoi</p>", "zh-Hant-TW"},
        {"<html xml:lang=\"de\"><p>Hoi</p>", ""},
        {"<p lang=de>Hoi</p>", ""},
        {"<html lang=\"\"><p>Hoi</p>", ""},
        {"<html lang=\"en)/Evil\"><p>Hoi</p>", ""},
        {"<html lang=\"en-\"><p>Hoi</p>", ""},
        {"<html lang=\"e\"><p>Hoi</p>", ""},
        {"<html lang=\"german\"><p>Hoi</p>", ""},
        {"<html lang=\"de-123456789\"><p>Hoi</p>", ""},
    };
    for (const auto& [html, expected] : rows) {
        auto message = letter();
        message.htmlBody = html;
        EXPECT_EQ(MessageHTML::page(message, "", "", std::nullopt, {}).language, expected) << html;
    }
}

TEST(MessagePage, IsOneWholeDocument) {
    const std::string html = page(letter(), "In<box");
    const std::string styles = between(html, "<style>", "</style>");
    EXPECT_TRUE(styles.starts_with("@page { margin: 0.55in 0.6in; }\nhtml {")) << styles;
    EXPECT_TRUE(styles.ends_with("\n.size, p.saved { color: #777; }")) << styles;
    EXPECT_EQ(
        "<!DOCTYPE html>\n<html><head><meta charset=\"utf-8\">\n"
        "<meta http-equiv=\"Content-Security-Policy\" content=\"default-src 'none'; img-src data:; style-src "
        "'unsafe-inline'; font-src data:\">\n<title>Fish &amp; &quot;chips&quot;</title>\n<style>" +
            styles +
            "</style></head>\n<body>\n<header class=\"ostrel\"><h1>Fish &amp; &quot;chips&quot;</h1><table>"
            "<tr><th>From</th><td>Kim &lt;K&gt; &lt;kim@example.com&gt;</td></tr>"
            "<tr><th>To</th><td>lee@example.com</td></tr><tr><th>Date</th><td>5 March</td></tr>"
            "<tr><th>Mailbox</th><td>In&lt;box</td></tr></table></header>\n\n<main><div class=\"plain\">Hello\n</div>"
            "</main>\n\n</body></html>",
        html);
}

TEST(MessagePage, RowsFollowWhatTheMessageHas) {
    auto message = letter();
    message.subject.clear();
    message.to.clear();
    message.cc = {{"Ann", ""}};
    const std::string html = page(message);
    EXPECT_NE(html.find("<h1>(No subject)</h1>"), std::string::npos);
    EXPECT_NE(html.find("<title>(No subject)</title>"), std::string::npos);
    EXPECT_NE(html.find("<tr><th>To</th><td></td></tr><tr><th>Cc</th><td>Ann</td></tr><tr><th>Date"),
              std::string::npos);
    EXPECT_EQ(html.find("Mailbox"), std::string::npos);
}

TEST(MessagePage, ShowsHTMLElseTextElseSaysThereIsNone) {
    struct Row {
        const char* why;
        std::optional<std::string> html, text;
        std::string expected;
    };
    const std::string none = "<p class=\"none\">(This message has no text.)</p>";
    const Row rows[] = {
        {"HTML first, untrimmed", " <b>a</b>\n", "b", "<div class=\"html\"> <b>a</b>\n</div>"},
        {"HTML of white space is none", " \r\n\u00A0\u2028", "b", "<div class=\"plain\">b</div>"},
        {"HTML that sanitising empties is still the body", "<script></script>", "b", "<div class=\"html\"></div>"},
        {"text is escaped", std::nullopt, "<b>&\n", "<div class=\"plain\">&lt;b&gt;&amp;\n</div>"},
        {"text of white space is none", std::nullopt, "\t\n", none},
        {"nothing", std::nullopt, std::nullopt, none},
    };
    for (const auto& row : rows) {
        auto message = letter();
        message.htmlBody = row.html;
        message.textBody = row.text;
        EXPECT_EQ(row.expected, content(message)) << row.why;
    }
}

TEST(MessagePage, LinksWebAddressesInText) {
    struct Row {
        const char* why;
        std::string text, address, rest;   // text is address and rest, as escaped
    };
    const Row rows[] = {
        {"full stop of the sentence", "http://a.b/c.", "http://a.b/c", "."},
        {"several closing marks", "https://a.b/c?!).", "https://a.b/c", "?!)."},
        {"marks inside stay", "HTTPS://a.b/c,d;e:f", "HTTPS://a.b/c,d;e:f", ""},
        {"& is escaped first and ends it", "http://a.b/?c=d&e", "http://a.b/?c=d", "&amp;e"},
        {"angle brackets end it", "http://a.b>c", "http://a.b", "&gt;c"},
        {"Unicode white space ends it", "http://a.b\u3000c", "http://a.b", "\u3000c"},
        {"letters of any script", "http://\u00E4\u00F6", "http://\u00E4\u00F6", ""},
        {"two characters at least", "http://a", "", "http://a"},
        {"and the last of them no mark", "http://a.", "", "http://a."},
        {"other schemes", "ftp://a.b", "", "ftp://a.b"},
        {"long s", "http\u017F://ab", "http\u017F://ab", ""},
    };
    for (const auto& row : rows) {
        auto message = letter();
        message.textBody = row.text;
        const std::string link = row.address.empty() ? "" : "<a href=\"" + row.address + "\">" + row.address + "</a>";
        EXPECT_EQ("<div class=\"plain\">" + link + row.rest + "</div>", content(message)) << row.why;
    }
}

TEST(MessagePage, NotesComeInOrder) {
    auto message = letter();
    message.htmlBody = "<img src=a><img src=b><img src=c>";
    message.problems = {"multipart-without-parts", "truncated"};
    EXPECT_EQ(
        "<p class=\"note\">3 remote images were not loaded: Ostrel never contacts the sender\u2019s servers.</p>"
        "<p class=\"note\">This message file was cut short; what Mail saved is shown.</p>\n",
        between(page(message), "</header>\n", "<main>"));
    message.htmlBody = "<img>";
    message.problems = {"truncated-twice"};
    EXPECT_EQ("\n", between(page(message), "</header>\n", "<main>")) << "nothing blocked, another problem";
}

TEST(MessagePage, ListsAttachments) {
    auto message = letter();
    message.attachments = {attachment("a&b.png", Bytes(std::string(1234, 'x'))),
                           attachment("c.png", MailAttachment::Missing{}),
                           attachment("d.png", std::filesystem::path("/no such folder/d.png"))};
    PageLabels labels;
    labels.missing = "<gone>";
    EXPECT_EQ(
        "<h2>Attachments (3)</h2><ul><li>a&amp;b.png <span class=\"size\">(" + locale::fileSize(1234) +
            ")</span></li><li>c.png <span class=\"size\">(&lt;gone&gt;)</span></li><li>d.png</li></ul>",
        between(page(message, "", std::nullopt, labels), "<section class=\"files\">", "</section>\n</body></html>"));
    EXPECT_EQ("Saved in the folder \u201CA &lt;b&gt;\u201D",
              between(page(message, "", "A <b>"), "</ul><p class=\"saved\">", "</p></section>"));
    message.attachments.clear();
    EXPECT_EQ(page(message), page(message, "", "A")) << "nothing saved, nothing said";
}

}   // namespace
}   // namespace ostrel
