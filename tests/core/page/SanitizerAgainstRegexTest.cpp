#include "core/page/MessageHTML.h"
#include "platform/Text.h"
#include "tests/core/page/RegexPipeline.h"

#include <algorithm>
#include <cstdlib>
#include <map>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

namespace ostrel {
namespace {

// Makes short texts out of what the sanitiser looks for, whole, broken, in odd case and with odd white space, so that
// matches begin, fail late, overlap and come about by removals.
class TokenSoup {
public:
    explicit TokenSoup(std::uint32_t seed) : random_(seed) {}

    std::string html() {
        std::string text;
        for (std::size_t count = 1 + below(24); count > 0; --count) text += piece();
        return text::toValidUTF8(text);   // bending may have cut a character in two
    }

    std::string plainText() {
        static const std::vector<std::string_view> parts = {
            "http://", "https://", "HTTP",   "http",  "httpſ://", "s",      "://", ":",  "/",  "//", ".",     ",", "!",
            "?",       ")",        "]",      "(",     "a",        "ä",      "",    "é.", "\"", "&",  "<",     ">", " ",
            "\n",      "\u00A0",   "\u2003", "x.org", "a=1&b=2",  "\u3000", ";",   "'",  "😀",  "-",  "\u0085"};
        std::string text;
        for (std::size_t count = 1 + below(16); count > 0; --count) text += of(parts);
        return text;
    }

private:
    std::size_t below(std::size_t bound) { return std::uniform_int_distribution<std::size_t>(0, bound - 1)(random_); }
    bool once(std::size_t in) { return below(in) == 0; }
    template <typename List>
    std::string of(const List& list) {
        return std::string(list[below(list.size())]);
    }

    // "" often, since most patterns allow none
    std::string space() {
        static const std::vector<std::string_view> spaces = {
            "",     "",       "",   "",       "",       " ",      " ",  " ",      "\n",     "\t",
            "\r\n", "\u00A0", "  ", "\u2028", "\u3000", "\u0085", "\f", "\u2003", "\u200B", "\x1F"};
        return of(spaces);
    }

    // The word in mixed case, now and then with a letter that folds to another, a hole or a doubled character.
    std::string bent(std::string word) {
        if (once(3)) {
            for (char& c : word) {
                if (c >= 'a' && c <= 'z' && once(2)) c = static_cast<char>(c - 'a' + 'A');
            }
        }
        if (once(6)) replace(word, "s", "ſ");
        if (once(6)) replace(word, "k", "\u212A");
        if (once(25)) word.erase(below(word.size()), 1);
        if (once(40)) word.insert(below(word.size() + 1), of(words()));
        return word;
    }

    static void replace(std::string& text, std::string_view what, std::string_view with) {
        if (const auto at = text.find(what); at != std::string::npos) text.replace(at, what.size(), with);
    }

    static const std::vector<std::string_view>& words() {
        static const std::vector<std::string_view> list = {"<", ">", "\"", "'",  "=",  "/",  " ",  "x", "ä", "_",
                                                           "1", "-", ":",  "</", "/>", "\\", "$1", ")", ";", "é"};
        return list;
    }

    std::string tagName() {
        static const std::vector<std::string_view> names = {
            "script", "iframe", "object", "embed", "frameset", "frame",  "applet", "noscript", "template",
            "audio",  "video",  "link",   "meta",  "base",     "source", "track",  "input",    "button",
            "form",   "html",   "head",   "body",  "title",    "style",  "style",  "style",    "body",
            "head",   "p",      "header", "a",     "script",   "script", "img",    "div",      "scripts"};
        return of(names);
    }

    std::string attributeName() {
        static const std::vector<std::string_view> names = {
            "onclick", "onload", "on",     "ona",      "online",     "src",        "src",   "src",    "href",
            "xhref",   "action", "srcset", "poster",   "lowsrc",     "dynsrc",     "width", "height", "width",
            "alt",     "alt",    "style",  "data-src", "background", "onkeypress", "ons"};
        return of(names);
    }

    std::string value() {
        static const std::vector<std::string_view> values = {"",
                                                             "x",
                                                             "javascript:",
                                                             "javascript:alert(1)",
                                                             "javascript:a b",
                                                             "cid:One@x",
                                                             "cid:one@X",
                                                             "cid:gone",
                                                             "50%",
                                                             "cid:%4fne@x",
                                                             "cid:%6Fne@x%",
                                                             "cid:100%",
                                                             "http://x.y/z",
                                                             "data:image/gif;base64,R0",
                                                             "DATA:Image/x",
                                                             "data:text/html,x",
                                                             "2",
                                                             "1",
                                                             "9",
                                                             "2000",
                                                             "99999999999999999999",
                                                             "0000000000000000000000007",
                                                             "٣",
                                                             "5٣",
                                                             "a>b",
                                                             " ",
                                                             "\u2003",
                                                             "url(http://x)",
                                                             "logo",
                                                             "=",
                                                             "src=x",
                                                             "cid:ne%C3",
                                                             "\"",
                                                             "'",
                                                             "cid:%6Fne%C3%A9"};
        std::string made = of(values);
        if (once(4)) made = bent(made + " ");
        return made;
    }

    std::string quoted(const std::string& inner) {
        static const std::vector<std::string_view> quotes = {"\"", "\"", "'", "", "", ""};
        const std::string open = of(quotes);
        return open + (once(6) ? space() : "") + inner + (once(7) ? of(quotes) : open);
    }

    std::string attribute() {
        return (once(12) ? "" : " ") + space() + bent(attributeName()) + space() + (once(15) ? "" : "=") + space() +
               quoted(value());
    }

    std::string tag(const std::string& name) {
        std::string made = "<" + bent(name);
        for (std::size_t count = below(4); count > 0; --count) made += attribute();
        if (once(5)) made += space();
        if (once(8)) made += "/";
        return once(9) ? made : made + ">";
    }

    std::string styleRule() {
        static const std::vector<std::string_view> schemes = {
            "http:", "https:", "//", "ftp:", "file:", "data:", "cid:", "httpſ:", "/", "x"};
        if (once(3)) return bent("@import") + space() + quoted("x") + (once(2) ? ";" : "");
        return bent("url") + "(" + space() + quoted(of(schemes) + "x") + space() + (once(5) ? "" : ")");
    }

    // A tag inside another's name: removing it makes the other whole.
    std::string split() {
        std::string outer = tag(tagName());
        const std::string inner = tagName();
        return outer.insert(below(std::min<std::size_t>(outer.size(), 6)),
                            once(2) ? tag(inner) : "<" + inner + "></" + inner + ">");
    }

    std::string piece() {
        switch (below(13)) {
            case 0:
            case 1:
                return tag("img");
            case 2:
            case 3:
                return tag(tagName());
            case 4:
                return "</" + bent(tagName()) + space() + (once(8) ? "" : ">");
            case 5:
                return styleRule();
            case 6:
                return attribute();
            case 7: {
                const std::string name = tagName();
                return tag(name) + (once(3) ? styleRule() : of(words())) + "</" + bent(name) + space() + ">";
            }
            case 8:
                return "<" + tagName().substr(0, below(5));
            case 9:
                return split();
            case 10:
                return space();
            case 11:
                return of(words());
            default:
                return "text";
        }
    }

    std::mt19937 random_;
};

std::map<std::string, MailAttachment> images() {
    const MailAttachment image{"a.png", "image/png", std::nullopt, "2", Bytes("abc")};
    MailAttachment missing = image;
    missing.source = MailAttachment::Missing{};
    return {{"one@x", image}, {"ne@x", missing}, {"oneé", image}, {"100%", image}, {"ne%C3", image}};
}

// More by hand: OSTREL_SOUP_COUNT=1000000 OSTREL_SOUP_SEED=7
std::uint32_t setting(const char* name, std::uint32_t usual) {
    const char* value = std::getenv(name);
    return value == nullptr ? usual : static_cast<std::uint32_t>(std::strtoul(value, nullptr, 10));
}

TEST(SanitizerAgainstRegex, MakesTheSameOfHostileTokens) {
    const auto table = images();
    const auto seed = setting("OSTREL_SOUP_SEED", 1);
    TokenSoup soup(seed);
    for (std::uint32_t i = 0; i < setting("OSTREL_SOUP_COUNT", 4000); ++i) {
        const std::string html = soup.html();
        const auto expected = regexPipeline::sanitize(html, table);
        const auto actual = MessageHTML::sanitize(html, table);
        ASSERT_EQ(expected.html, wholeHTML(actual.html, actual.pictures))
            << "text " << i << " of seed " << seed << ": " << html;
        ASSERT_EQ(expected.blocked, actual.blocked) << "text " << i << " of seed " << seed << ": " << html;
    }
}

TEST(SanitizerAgainstRegex, LinksTheSameAddresses) {
    TokenSoup soup(setting("OSTREL_SOUP_SEED", 1));
    for (std::uint32_t i = 0; i < setting("OSTREL_SOUP_COUNT", 4000); ++i) {
        MailMessage message;
        message.textBody = "x" + soup.plainText();
        const auto expected = regexPipeline::linked(MessageHTML::escape(*message.textBody));
        const auto page = MessageHTML::page(message, "", "", std::nullopt, {}).html;
        ASSERT_NE(page.find("<div class=\"plain\">" + expected + "</div></main>"), std::string::npos)
            << "text: " << *message.textBody << "\nexpected: " << expected << "\nin: " << page;
    }
}

}   // namespace
}   // namespace ostrel
