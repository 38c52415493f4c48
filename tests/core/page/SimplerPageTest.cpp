#include "core/page/BareHTML.h"
#include "core/page/MessageHTML.h"
#include "core/page/SimplerPage.h"

#include <string>

#include <gtest/gtest.h>

namespace ostrel {
namespace {

TEST(BareHTML, KeepsTextAndStructureAlone) {
    const struct {
        const char *why, *html, *bare;
    } cases[] = {
        {"attributes", "<p style='x' class=\"a>b\" onclick=c>d</p >", "<p>d</p>"},
        {"elements that cost", "<svg><use href=#a /><text>a</text></svg>b<img src=data:x>c", "   a  b c"},
        {"style sheets", "a<style>p{}</style>b<STYLE>c", "a  b "},
        {"comments", "a<!-- <p> -->b<![if x]>c", "abc"},
        {"links", "<a title='x' HREF='https://e.x/?\"&amp;'>a</a><A href=mailto:b@x>b</A>",
         "<a href=\"https://e.x/?&quot;&amp;\">a</a><a href=\"mailto:b@x\">b</a>"},
        {"links elsewhere", "<a href=javascript:x>a</a><a href=cid:x>b</a><a data-href=http://x>c</a>",
         "<a>a</a><a>b</a><a>c</a>"},
        {"tables", "<table border=1><tr><td colspan=2>a<td>b</table>", "<table><tr><td>a<td>b</table>"},
        {"signs that are no tags", "1 < 2 &lt; 3 <", "1 &lt; 2 &lt; 3 &lt;"},
        {"a tag that does not end", "a<p title=\"", "a<p>"},
    };
    for (const auto& c : cases) EXPECT_EQ(html::bare(c.html), c.bare) << c.why;
}

MailMessage hostile() {
    MailMessage message;
    message.subject = "A <b> \n subject";
    message.from = {{"Kim", "kim@x.org"}};
    message.htmlBody =
        "<style>p{color:red}</style><p style='x'>first<table><tr><td>a<td>b</table><textarea></main>last";
    message.attachments = {{"e.png", "image/png", {}, "2", Bytes("abc")}};
    return message;
}

TEST(SimplerPage, KeepsEveryWordInEveryForm) {
    const Page page = MessageHTML::page(hostile(), "Inbox", "5 March", std::nullopt, {});
    for (const auto simplicity : {MessageHTML::Simplicity::withoutEffects, MessageHTML::Simplicity::bare}) {
        const auto simpler = MessageHTML::simpler(page, simplicity, "Note");
        ASSERT_TRUE(simpler);
        std::size_t at = 0;
        for (const char* const word : {"A <b> subject", "Kim", "Inbox", "Note", "first", "a\tb", "last", "e.png"}) {
            at = simpler->text.find(word, at);
            EXPECT_NE(at, std::string::npos) << word;
        }
    }
    const auto words = MessageHTML::wordsOf(page);
    EXPECT_EQ(words.title, "A <b> subject");
    EXPECT_EQ(words.rows, "From\tKim <kim@x.org>\nTo\nDate\t5 March\nMailbox\tInbox\n");
    EXPECT_EQ(words.mail, "first\na\tb\nlast\n");
    EXPECT_NE(words.files.find("e.png"), std::string::npos);
}

TEST(SimplerPage, HasNoneOfPlainText) {
    MailMessage message;
    message.textBody = "a\n  b";
    const Page page = MessageHTML::page(message, "", "", std::nullopt, {});
    EXPECT_FALSE(MessageHTML::simpler(page, MessageHTML::Simplicity::bare, "Note"));
    EXPECT_EQ(MessageHTML::wordsOf(page).mail, "a\n  b\n");   // its lines as they are
}

}   // namespace
}   // namespace ostrel
