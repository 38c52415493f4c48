#include "core/page/HTMLMatchers.h"
#include "core/page/ImageRewrite.h"
#include "core/page/MessageHTML.h"
#include "core/page/PagePictures.h"

#include <algorithm>
#include <array>
#include <bitset>
#include <utility>
#include <vector>

// A fixed sequence of substitutions over the text, not a parser: what it leaves may still look like markup. The page's
// Content-Security-Policy and the web engine's block list stand behind it.
namespace ostrel::MessageHTML {

namespace {

constexpr std::size_t npos = std::string_view::npos;

// Every head element of a message without body gives way to all its style sheets. More than one head is a fault, a
// million of them beside a large style sheet an attack: past this many bytes further heads are only removed.
constexpr std::size_t repeatedStylesLimit = std::size_t{64} << 20;

// Removed with their content, in this order.
constexpr std::array<std::string_view, 11> activeElements = {
    "script", "iframe", "object", "embed", "frameset", "frame", "applet", "noscript", "template", "audio", "video"};
// Removed as tags, in this order.
constexpr std::array<std::string_view, 7> controlTags = {"link", "meta", "base", "source", "track", "input", "button"};
constexpr std::array<std::string_view, 5> structureTags = {"form", "html", "head", "body", "title"};

// Which tags a text may hold. One look saves most of the thirty passes that the removals below would take.
class TagCensus {
public:
    explicit TagCensus(std::string_view text) {
        for (std::size_t at = text.find('<'); at != npos; at = text.find('<', at + 1)) count(text, at + 1);
    }
    bool holdsActive(std::size_t index) const { return active_[index]; }
    bool holdsControl(std::size_t index) const { return control_[index]; }
    bool holdsStructure() const { return structure_; }

private:
    void count(std::string_view text, std::size_t at) {
        const bool isClosing = at < text.size() && text[at] == '/';
        if (isClosing) ++at;
        if (at == text.size()) return;
        const char c = text[at];
        const char initial = c >= 'A' && c <= 'Z' ? static_cast<char>(c | 0x20) : c == '\xC5' ? 's' : c;   // long s
        if (initial < 'a' || initial > 'z') return;
        const auto stands = [&](std::string_view name) {
            return name.front() == initial && html::wordAt(text, at, name) != npos;
        };
        structure_ = structure_ || std::ranges::any_of(structureTags, stands);
        if (isClosing) return;
        for (std::size_t i = 0; i < activeElements.size(); ++i) active_[i] = active_[i] || stands(activeElements[i]);
        for (std::size_t i = 0; i < controlTags.size(); ++i) control_[i] = control_[i] || stands(controlTags[i]);
    }

    std::bitset<activeElements.size()> active_;
    std::bitset<controlTags.size()> control_;
    bool structure_ = false;
};

std::string styleSheetsOf(std::string_view text) {
    std::string styles;
    for (auto found = html::nextElement(text, 0, "style"); found;
         found = html::nextElement(text, found->end, "style")) {
        styles.append(text, found->begin, found->end - found->begin);
    }
    return styles;
}

// The style sheets, from wherever they stand, and the content of the body. <body\b[^>]*>([\s\S]*?)(?:</body\s*>|$)
std::string bodyWithStyles(std::string_view text) {
    const std::string styles = styleSheetsOf(text);
    if (const auto body = html::nextTag(text, 0, "body")) {
        const auto close = html::nextClosingTag(text, body->end, "body");
        return styles + std::string(text.substr(body->end, (close ? close->begin : text.size()) - body->end));
    }
    std::string content(text);
    std::size_t repeatedBytes = 0;
    bool isFirst = true;
    html::substitute(
        content, [&](std::size_t from) { return html::nextElement(content, from, "head"); },
        [&](std::string& out, const html::Match&) {
            if (!isFirst) repeatedBytes += styles.size();
            if (repeatedBytes <= repeatedStylesLimit) out.append(styles);
            isFirst = false;
        });
    return content;
}

// For each name first whole elements (<NAME\b[^>]*>[\s\S]*?</NAME\s*>), then tags that were never closed
// (<NAME\b[^>]*/?>, which is <NAME\b[^>]*>: the class takes the slash too); then single tags. Every removal can join
// the text around it into a new tag, so the census is taken again.
void removeActiveMarkup(std::string& text) {
    TagCensus census(text);
    for (std::size_t i = 0; i < activeElements.size(); ++i) {
        if (!census.holdsActive(i)) continue;
        const auto name = activeElements[i];
        bool removed = html::removeAll(text, [&](std::size_t from) { return html::nextElement(text, from, name); });
        removed |= html::removeAll(text, [&](std::size_t from) { return html::nextTag(text, from, name); });
        if (removed) census = TagCensus(text);
    }
    for (std::size_t i = 0; i < controlTags.size(); ++i) {
        if (!census.holdsControl(i)) continue;
        const auto name = controlTags[i];
        if (html::removeAll(text, [&](std::size_t from) { return html::nextTag(text, from, name); })) {
            census = TagCensus(text);
        }
    }
    if (census.holdsStructure()) {
        html::removeAll(text, [&](std::size_t from) { return html::nextStructureTag(text, from); });
    }
}

void defuseScriptURLs(std::string& text) {
    html::substitute(
        text, [&](std::size_t from) { return html::nextScriptURL(text, from); },
        [&](std::string& out, const html::ScriptURL& url) {
            out.append(text, url.match.begin, url.nameEnd - url.match.begin).append("=\"#\"");
        });
}

void removeRemoteStyles(std::string& text) {
    html::removeAll(text, [&](std::size_t from) { return html::nextImport(text, from); });
    html::substitute(
        text, [&](std::size_t from) { return html::nextRemoteURL(text, from); },
        [](std::string& out, const html::Match&) { out.append("none"); });
}

// Removes the attributes, and moves the addresses of the pictures with the text they stand in. What an address lost
// makes it no address any more.
void removeFetchingAttributes(std::string& text, std::vector<PagePicture>& pictures) {
    std::vector<html::Match> removed;
    html::substitute(
        text, [&](std::size_t from) { return html::nextFetchingAttribute(text, from); },
        [&](std::string&, const html::Match& match) { removed.push_back(match); });
    if (removed.empty()) return;
    for (auto& picture : pictures) {
        std::size_t next = 0, removedBytes = 0;
        for (auto& address : std::exchange(picture.addresses, {})) {
            for (; next < removed.size() && removed[next].end <= address.begin; ++next)
                removedBytes += removed[next].end - removed[next].begin;
            const bool isCut = next < removed.size() && removed[next].begin < address.begin + address.size;
            if (!isCut) picture.addresses.push_back({address.begin - removedBytes, address.size, address.isOpen});
        }
    }
    std::erase_if(pictures, [](const PagePicture& picture) { return picture.addresses.empty(); });
}

}   // namespace

// The order is part of the result: each step reads what the one before it left.
Sanitized sanitize(std::string_view html, const std::map<std::string, MailAttachment>& inlineImages) {
    std::string text = bodyWithStyles(html);
    removeActiveMarkup(text);
    html::removeAll(text, [&](std::size_t from) { return html::nextEventHandler(text, from); });
    defuseScriptURLs(text);
    removeRemoteStyles(text);
    ImageRewriter images(inlineImages);
    html::substitute(
        text, [&](std::size_t from) { return html::nextTag(text, from, "img"); },
        [&](std::string& out, const html::Match& tag) {
            images.rewrite(out, std::string_view(text).substr(tag.begin, tag.end - tag.begin));
        });
    auto embedded = images.takeEmbedded();
    removeFetchingAttributes(text, embedded);
    auto pictures = html::picturesOf(text, std::move(embedded));
    return {std::move(text), images.blocked(), std::move(pictures)};
}

}   // namespace ostrel::MessageHTML
