#include "core/message/MailMessage.h"
#include "core/page/MessageHTML.h"
#include "fuzz/Seeds.h"
#include "fuzz/Target.h"
#include "platform/Text.h"
#include "tests/core/page/RegexPipeline.h"

#include <algorithm>
#include <stdexcept>

namespace ostrel::fuzz {
namespace {

// The plain regular expressions are quadratic on hostile text.
constexpr std::size_t oracleBytes = 4096;

std::size_t count(std::string_view text, std::string_view what) {
    std::size_t found = 0;
    for (std::size_t at = text.find(what); at != std::string_view::npos; at = text.find(what, at + 1)) ++found;
    return found;
}

void sanitised(const std::string& html) {
    const MessageHTML::Sanitized own = MessageHTML::sanitize(html, {});
    isValidText(own.html, "sanitised text");
    // A grey box takes the place of a tag.
    holds(own.html.size() <= 64 * (html.size() + 1), "sanitised text comes from its source");
    if (html.size() > oracleBytes || html.find("\u180E") != std::string::npos) return;
    try {
        const MessageHTML::Sanitized plain = regexPipeline::sanitize(html, {});
        holds(own.html == plain.html && own.blocked == plain.blocked, "the sanitiser does what its patterns say");
    } catch (const std::runtime_error&) {
        // The engine gave up, which says nothing.
    }
}

// Every address is one of a picture, and no two overlap.
void arePlaced(const std::vector<PagePicture>& pictures, const std::string& html) {
    std::vector<PagePicture::Address> all;
    for (const PagePicture& picture : pictures) {
        holds(!picture.addresses.empty(), "a picture has an address");
        all.insert(all.end(), picture.addresses.begin(), picture.addresses.end());
    }
    std::ranges::sort(all, {}, &PagePicture::Address::begin);
    std::size_t end = 0;
    for (const auto& address : all) {
        holds(address.begin >= end, "addresses do not overlap");
        end = address.begin + address.size;
        holds(text::lowerASCII(html.substr(address.begin, 5)) == "data:" && end <= html.size(), "an address is one");
    }
}

}   // namespace

void run(ByteView input) {
    const std::string text = text::toValidUTF8(charsOf(input));
    sanitised(text);

    MailMessage message = MailMessage::make(MIMEPart::parse(Bytes::copyOf(input)), false, std::nullopt);
    const Page page = MessageHTML::page(message, text, text, text, PageLabels{});
    isValidText(page.html, "a page");
    isValidText(page.text, "the text of a page");
    arePlaced(page.pictures, page.html);
    holds(count(page.html, "Content-Security-Policy") >= 1, "a page limits what it may load");
    holds(page.html.find("Content-Security-Policy") < page.html.find("<body"), "the limits stand before the content");

    message.htmlBody.reset();   // nothing but texts that we escape
    const std::string plain = text::foldCase(MessageHTML::page(message, text, text, text, PageLabels{}).html);
    for (const char* active : {"<script", "<img", "<iframe", "<link", "<form", "javascript:\""}) {
        holds(count(plain, active) == 0, std::string("a plain message's page holds no ") + active);
    }
    holds(count(plain, "<a ") == count(plain, "<a href=\"http"), "its links lead to the web");
}

std::vector<std::string> seeds() {
    std::vector<std::string> texts = messages();
    for (const char* html :
         {"<script>x</script ><SCRIPT src=a>",
          "<p onload = 'x' ONCLICK=y style=\"background:url( 'http://x.org/a' )\">",
          "<a href=\" javascript:alert(1)\">x</a><img src='http://x.org/a.png' width=\"10\" height=20px>",
          "<style>@import url(//x.org); a{background:url(\"https://x.org\")}</style><base href=x><meta "
          "http-equiv=refresh>",
          "<table background=x poster='y' srcset=\"a 2x\"><iframe src=x></iframe><object data=y><embed src=z></object>",
          "<!doctype html><html><head><title>x</title></head><body bgcolor=red>x<form "
          "action=y><input></form></body></html>",
          "See https://example.org/a?b=1&c=2, (http://x.org). <svg onload=x><use xlink:href=y></svg>"}) {
        texts.emplace_back(html);
    }
    return texts;
}

}   // namespace ostrel::fuzz
