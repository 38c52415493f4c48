#include "core/message/TransferEncoding.h"
#include "core/page/MessageHTML.h"
#include "core/page/PictureAddresses.h"
#include "platform/LocaleFormat.h"

#include <map>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace ostrel {
namespace {

TEST(PageText, IsWhatIsReadOfHTML) {
    const struct {
        const char* why;
        std::string html, text;
    } rows[] = {
        {"white space", " a \n\t b<b> c </b> d ", "a b c d"},
        {"through an element", "\u0939<b>\u093f</b>", "\u0939\u093f"},
        {"blocks and breaks", "<div>a</div> <P>b<br>c</p><ul><li>d<li> e</ul>f", "a\nb\nc\nd\ne\nf"},
        {"empty lines that were asked for", "a<br> <br>b", "a\n\nb"},
        {"cells", "<table><tr><th>a</th> <td> b<tr><td>c</td><td><p>d</p></table>e", "a\tb\nc\td\ne"},
        {"kept white space", "<pre>a\r\n  b</pre>  c", "a\n  b\nc"},
        {"references", "&#2361;&#x93F;&lt;b&gt;&amp;amp;&Auml;&zwj;&rarr;&apos;", "\u0939\u093f<b>&amp;Ä\u200d→'"},
        {"references without an end", "&#65 &#x42&nbsp&copy2 &ampx", "A B\u00A0©2 &x"},
        {"references that are none", "& &; &#; &#x; &#xg &rarr &unknown; &b&",
         "& &; &#; &#x; &#xg &rarr &unknown; &b&"},
        {"numbers of no character", "&#0;&#xD800;&#x110000;&#99999999999;", "\uFFFD\uFFFD\uFFFD\uFFFD"},
        {"numbers of Windows-1252", "&#146;&#x80;", "’€"},
        {"quotation marks in values", "<a title='x > y' href=a'b>c</a><p a=\"'>\">d", "c\nd"},
        {"quotation marks elsewhere", "<p it's>a <b \">b", "a b"},
        {"what is not shown", "<TITLE>a</TITLE><style>b</styles></style ><!-- c > --><script>'<b>d'</script>e", "e"},
        {"comments", "a<!-->b<!---->c<![if x]>d</ e>f<?g?>h", "abcdfh"},
        {"signs that are no tags", "1 < 2 <3 <>", "1 < 2 <3 <>"},
        {"a tag that does not end", "a<a href=\"x", "a"},
        {"a comment that does not end", "a<!-- b", "a"},
        {"a title that does not end", "a<title>b</titl", "a"},
    };
    for (const auto& row : rows) EXPECT_EQ(makePage(row.html).text, row.text) << row.why;
}

TEST(PageText, HoldsAllOfThePage) {
    MailMessage message;
    message.subject = "A & b";
    message.from = {{"Kim", "kim@x.org"}};
    message.htmlBody = "<p>c &lt;</p><img src=http://x.org width=9 height=9 alt=\"d\">";
    message.attachments = {{"e&f.png", "image/png", {}, "2", Bytes("abc")},
                           {"g.png", "image/png", {}, "3", MailAttachment::Missing{}}};
    const auto page = MessageHTML::page(message, "Inbox", "5 March", "folder", {});
    EXPECT_EQ(page.text,
              "A & b\nFrom\tKim <kim@x.org>\nTo\t\nDate\t5 March\nMailbox\tInbox\n"
              "1 remote images were not loaded: Ostrel never contacts the sender’s servers.\n"
              "c <\nd\nAttachments (2)\ne&f.png (" +
                  locale::fileSize(3) + ")\ng.png (not downloaded by Mail)\nSaved in the folder “folder”\n");
    message.htmlBody.reset();
    message.textBody = "h\n <b>\n";
    EXPECT_NE(MessageHTML::page(message, "", "", {}, {}).text.find("\nh\n <b>\n\nAttachments"), std::string::npos);
}

using Found = std::vector<std::pair<std::string, std::vector<std::string>>>;   // bytes, addresses

Found found(const Page& page) {
    Found found;
    for (const auto& picture : page.pictures) {
        auto& [bytes, addresses] = found.emplace_back(picture.bytes.chars(), std::vector<std::string>());
        for (const auto& address : picture.addresses)
            addresses.push_back(page.html.substr(address.begin, address.size) +
                                (address.isOpen ? TransferEncoding::encodeBase64(picture.bytes.view()) : ""));
    }
    return found;
}

TEST(PagePictures, AreThoseThatTheSenderWrote) {
    const std::string png = "data:image/png;base64,YWI=", gif = "DATA:image/gif;x=y;BASE64,YWJj";
    const struct {
        const char* why;
        std::string html;
        Found pictures;
    } rows[] = {
        {"attributes and style sheets, each picture once",
         "<img src=\"" + png + "\"><i style='background:url(" + gif + ")'><img src='" + png + "'>",
         {{"ab", {png, png}}, {"abc", {gif}}}},
        {"the same bytes, written otherwise",
         "<img src='" + png + "'><img src=data:image/x;base64,YWI width=5>",
         {{"ab", {png, "data:image/x;base64,YWI"}}}},
        {"quoted by name", "<i style=\"background:url(&quot;" + png + "&quot;)\">", {{"ab", {png}}}},
        {"folded", "<img src=\"data:image/png;base64,YW\r\n I= \">", {{"ab", {"data:image/png;base64,YW\r\n I="}}}},
        {"with densities", "<img srcset=\"" + png + " 1.5x, " + gif + " 2x\">", {{"ab", {png}}, {"abc", {gif}}}},
        {"folded with a last line like a density",
         "<img src='data:image/png;base64,YWJjY\n02x'>",
         {{"abccM\xB1", {"data:image/png;base64,YWJjY\n02x"}}}},
        {"cut off", "<img src=\"data:image/png;base64,YWI", {{"ab", {"data:image/png;base64,YWI"}}}},
        {"nothing behind the comma", "<img src=\"data:image/png;base64,\">", {}},
        {"no base64", "<img src=\"data:image/svg+xml,%3Csvg%3E\"><img src='data:image/svg+xml;utf8,<svg>'>", {}},
        {"escapes", "<img src='data:image/png;base64,YW%49='><img src='data:image/png;base64,YW&#73;='>", {}},
        {"no pictures", "data: data:text/html;base64,YWI= xdata:image data:image/png;base64", {}},
        {"the next one", "<p style='a:b'>data:image/png<img src='" + png + "'>", {{"ab", {png}}}},
    };
    for (const auto& row : rows) EXPECT_EQ(found(makePage(row.html)), row.pictures) << row.why;
}

TEST(PictureAddresses, AreToldFromWhatIsRead) {
    constexpr auto other = AddressUse::other, image = AddressUse::image, background = AddressUse::background;
    const struct {
        const char* why;
        std::string html;   // with @ for each address
        std::vector<AddressUse> uses;
    } rows[] = {
        {"images", "<IMG alt='>' src=\"@\"><input type=image src='@'><img src=@ width=5>", {image, image, image}},
        {"of several sizes", "<source srcset='@ 1x, @ 2x'><img srcset=\"@\">", {other, other, image}},
        {"in drawings", "<svg><image href='@'/><image xlink:href='@'/><use href='@'/></svg>", {other, other, other}},
        {"backgrounds", "<td background='@'><p style='background: URL( \"@\" )'>", {background, background}},
        {"quoted by name", "<p style=\"background:url(&quot;@&quot;)\">", {background}},
        {"style sheets", "<style>p { background: url('@') } q::after { content: '@' }</style>", {background, other}},
        {"texts", "<p>src='@' url(@)</p><textarea><img src='@'></textarea>", {other, other, other}},
        {"comments", "<!-- <img src='@'> --><img src='@'>", {other, image}},
        {"attributes that a style can show",
         "<img alt='@' title='@'><a href='@'><p x='url(@)'>",
         {other, other, other, other}},
        {"asked for", "<img src='@'><style>[src^='data:image/png'] { display: none }</style>", {other}},
        {"other questions", "<img src='@'><style>[href^='tel:'], [style*=\"url\"] { display: none }</style>", {image}},
        {"hidden from scripts", "<p><template shadowrootmode=open><img src='@'></template>", {other}},
        {"a tag that does not end", "<img src='@", {image}},
    };
    for (const auto& row : rows) {
        std::string html;
        std::vector<PagePicture::Address> addresses;
        constexpr std::string_view address = "data:image/png;base64,YWI=";
        for (const char c : row.html) {
            if (c == '@') addresses.push_back({html.size(), address.size()});
            html += c == '@' ? address : std::string_view(&c, 1);
        }
        EXPECT_EQ(addressUses(html, addresses), row.uses) << row.why;
    }
}

TEST(PagePictures, AreTheMessagesOwnToo) {
    const auto image = [](const char* bytes) {
        return MailAttachment{"a.png", "image/png", std::nullopt, "2", Bytes(std::string(bytes))};
    };
    MailMessage message;
    message.inlineImages = {{"a", image("ab")}, {"b", image("abc")}, {"twin", image("ab")}, {"unused", image("x")}};
    const std::string a = "data:image/png;base64,YWI=", b = "data:image/png;base64,YWJj";
    const struct {
        const char* why;
        std::string html;
        Found pictures;
    } rows[] = {
        {"each once, by its first address",
         "<img src=cid:b><img src=cid:a><img src='" + b + "'><img src=cid:twin src=x>",
         {{"abc", {b, b}}, {"ab", {a, a, a}}}},
        {"behind attributes that go",
         "<td background=x><img src=cid:a srcset='y z'><p poster=x><img src=cid:a>",
         {{"ab", {a, a}}}},
        {"not those that go with such an attribute",
         "<img alt=\" poster='\" src=cid:a title=\"'\"><img src=cid:b>",
         {{"abc", {b}}}},
    };
    for (const auto& row : rows) {
        message.htmlBody = row.html;
        EXPECT_EQ(found(MessageHTML::page(message, "Inbox", "5 March", "A", {})), row.pictures) << row.why;
    }
    message.htmlBody = "<img src=cid:b>";
    const auto page = MessageHTML::page(message, "", "", {}, {});
    EXPECT_EQ(page.pictures.at(0).mediaType, "image/png");
    const auto& own = std::get<Bytes>(message.inlineImages.at("b").source);
    EXPECT_EQ(page.pictures.at(0).bytes.view().data(), own.view().data()) << "shared, not copied";
}

}   // namespace
}   // namespace ostrel
