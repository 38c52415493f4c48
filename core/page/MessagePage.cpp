#include "core/page/HTMLMatchers.h"
#include "core/page/HTMLText.h"
#include "core/page/ImageRewrite.h"
#include "core/page/MessageHTML.h"
#include "core/page/PagePictures.h"
#include "platform/LocaleFormat.h"
#include "platform/Text.h"

#include <algorithm>
#include <vector>

namespace ostrel::MessageHTML {

namespace {

// Printed as it is shown: the page rule sets the margins of the paper.
constexpr std::string_view styleSheet =
    R"(@page { margin: 0.55in 0.6in; }
html { -webkit-print-color-adjust: exact; }
body { font: 11pt -apple-system, "Helvetica Neue", Helvetica, Arial, sans-serif; color: #1a1a1a; margin: 0; padding: 0; overflow-wrap: anywhere; }
header.ostrel { border-bottom: 1.5px solid #8a8a8a; padding-bottom: 8px; margin-bottom: 14px; }
header.ostrel h1 { font-size: 15pt; margin: 0 0 8px; line-height: 1.25; }
header.ostrel table { border-collapse: collapse; font-size: 9.5pt; width: 100%; }
header.ostrel th { text-align: left; color: #666; font-weight: 600; padding: 1px 12px 1px 0; vertical-align: top; width: 1%; white-space: nowrap; }
header.ostrel td { padding: 1px 0; }
p.note { font-size: 8.5pt; color: #777; margin: 0 0 10px; }
main .plain { white-space: pre-wrap; font-size: 10.5pt; line-height: 1.4; }
main .html { max-width: 100%; }
main img { max-width: 100% !important; height: auto; }
main table { max-width: 100% !important; }
.blocked-image { display: inline-block; min-width: 24px; min-height: 12px; background: #eee; border: 1px dashed #bbb; }
section.files { border-top: 1px solid #ccc; margin-top: 18px; padding-top: 8px; font-size: 9.5pt; page-break-inside: avoid; }
section.files h2 { font-size: 10.5pt; margin: 0 0 4px; }
section.files ul { margin: 0; padding-left: 18px; }
.size, p.saved { color: #777; })";

// A stretch of the page, and what of it is read.
struct Part {
    std::string html, text;

    Part& tags(std::string_view markup) {
        html += markup;
        return *this;
    }
    Part& words(std::string_view words) {
        html += escape(words);
        text += words;
        return *this;
    }
    // What tags keep apart: a tab or the end of a line.
    Part& gap(char separator) {
        text += separator;
        return *this;
    }
    Part& append(const Part& part) {
        html += part.html;
        text += part.text;
        return *this;
    }
};

struct Content {
    Part part;
    std::size_t blockedImages = 0;
    std::vector<PagePicture> pictures{};   // with their addresses in the part's HTML
    std::string language{};                // as Page has it
};

// A tag of BCP 47 as mail programs write them, "de" or "zh-Hant-TW", and nothing else.
bool isLanguageTag(std::string_view tag) {
    constexpr std::size_t maxTag = 35, maxSubtag = 8;   // §4.4.1, §2.1
    std::size_t length = 0, subtags = 0;
    for (const char c : tag) {
        const bool isLetter = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
        const bool isDigit = c >= '0' && c <= '9';
        if (c == '-' && length > (subtags == 0 ? 1u : 0u)) {
            ++subtags;
            length = 0;
        } else if (!(isLetter || (isDigit && subtags > 0)) || ++length > (subtags == 0 ? 3 : maxSubtag)) {
            return false;
        }
    }
    return tag.size() <= maxTag && length > (subtags == 0 ? 1u : 0u);
}

// What <html lang="…"> says; the tag itself does not come onto the page.
std::string languageOf(std::string_view html) {
    const auto found = html::nextTag(html, 0, "html");
    if (!found) return {};
    const auto tag = html.substr(found->begin, found->end - found->begin);
    for (auto named = html::nextAssignment(tag, 0); named; named = html::nextAssignment(tag, named->sign + 1)) {
        if (!html::isNamed(tag, *named, "lang")) continue;
        const auto begin = html::quoteAt(tag, named->value) == '\0' ? named->value : named->value + 1;
        const auto value = tag.substr(begin, html::skipPlainValue(tag, begin) - begin);
        return isLanguageTag(value) ? std::string(value) : std::string();
    }
    return {};
}

void moveAddresses(std::vector<PagePicture>& pictures, std::size_t by) {
    for (auto& picture : pictures)
        for (auto& address : picture.addresses) address.begin += by;
}

// Cuts the texts of one page to what it may hold.
class Limits {
public:
    std::string_view line(std::string_view text) { return cut(text, lineLimitBytes); }
    std::string_view plain(std::string_view text) { return cut(text, textLimitBytes); }
    // Images that the sender wrote into the HTML are no text.
    std::string_view html(std::string_view text) {
        text = cut(text, ImageRewriter::embeddedBytesLimit + textLimitBytes);
        constexpr std::string_view image = "data:image/";
        constexpr std::string_view ends = "\"'<> \t\r\n)";
        std::size_t room = textLimitBytes, at = 0;
        while (text.size() - at > room) {
            const std::size_t begin = text.find(image, at);
            if (begin == text.npos || begin - at >= room) return cut(text, at + room);
            room -= begin - at;
            at = std::min(text.find_first_of(ends, begin), text.size());
        }
        return text;
    }
    void mark() { isExceeded_ = true; }
    bool isExceeded() const { return isExceeded_; }

private:
    std::string_view cut(std::string_view text, std::size_t maxBytes) {
        isExceeded_ |= text.size() > maxBytes;
        return text::prefix(text, maxBytes);
    }
    bool isExceeded_ = false;
};

// An escaped text with its web addresses made links.
std::string linked(std::string text) {
    html::substitute(
        text, [&](std::size_t from) { return html::nextWebAddress(text, from); },
        [&](std::string& out, const html::Match& match) {
            const auto address = std::string_view(text).substr(match.begin, match.end - match.begin);
            out.append("<a href=\"").append(address).append("\">").append(address).append("</a>");
        });
    return text;
}

bool hasText(const std::optional<std::string>& body) { return body && !text::trimBlanksAndNewlines(*body).empty(); }

Content contentOf(const MailMessage& message, const PageLabels& labels, Limits& limits) {
    if (hasText(message.htmlBody)) {
        constexpr std::string_view opening = "<div class=\"html\">";
        auto [html, blocked, pictures] = sanitize(limits.html(*message.htmlBody), message.inlineImages);
        std::string text = html::textOf(html);
        moveAddresses(pictures, opening.size());
        html.insert(0, opening).append("</div>");
        return {{std::move(html), std::move(text)}, blocked, std::move(pictures), languageOf(*message.htmlBody)};
    }
    Part part;
    if (hasText(message.textBody)) {
        part.text = limits.plain(*message.textBody);
        part.html = "<div class=\"plain\">" + linked(escape(part.text)) + "</div>";
    } else {
        part.tags("<p class=\"none\">").words(labels.noText).tags("</p>");
    }
    return {std::move(part)};
}

Part headerRows(const MailMessage& message, const std::string& mailbox, const std::string& dateText,
                const PageLabels& labels, Limits& limits) {
    Part rows;
    const auto add = [&](const std::string& title, const std::string& value) {
        rows.tags("<tr><th>").words(title).tags("</th><td>").gap('\t');
        rows.words(limits.line(value)).tags("</td></tr>").gap('\n');
    };
    add(labels.from, MailMessage::line(message.from));
    add(labels.to, MailMessage::line(message.to));
    if (!message.cc.empty()) add(labels.cc, MailMessage::line(message.cc));
    add(labels.date, dateText);
    if (!mailbox.empty()) add(labels.mailbox, mailbox);
    return rows;
}

Part notes(const MailMessage& message, std::size_t blockedImages, const PageLabels& labels, const Limits& limits) {
    const auto has = [&](const char* code) {
        return std::ranges::find(message.problems, code) != message.problems.end();
    };
    Part notes;
    const auto add = [&](const std::string& note) {
        notes.tags("<p class=\"note\">").words(note).tags("</p>").gap('\n');
    };
    if (blockedImages > 0) add(labels.remoteBlocked(blockedImages));
    if (has(problem::truncated)) add(labels.truncated);
    if (limits.isExceeded() || has(problem::tooManyParts) || has(problem::tooManyAddresses)) add(labels.tooLarge);
    return notes;
}

// Adds nothing if the attachment is there but its size cannot be read.
void addSize(Part& part, const MailAttachment& attachment, const PageLabels& labels) {
    const auto size = attachment.size();
    if (attachment.isAvailable() && !size) return;
    part.gap(' ').tags(" <span class=\"size\">").words("(");
    if (size) {
        const std::string formatted = locale::fileSize(*size);
        part.append({formatted, formatted});
    } else {
        part.words(labels.missing);
    }
    part.words(")").tags("</span>");
}

Part filesSection(const std::vector<MailAttachment>& attachments, const std::optional<std::string>& folder,
                  const PageLabels& labels, Limits& limits) {
    Part section;
    if (attachments.empty()) return section;
    section.tags("<section class=\"files\"><h2>").words(labels.attachments);
    section.words(" (" + std::to_string(attachments.size()) + ")").tags("</h2><ul>").gap('\n');
    for (const auto& attachment : attachments) {
        if (section.html.size() > textLimitBytes) {
            limits.mark();
            break;
        }
        section.tags("<li>").words(limits.line(attachment.filename));
        addSize(section, attachment, labels);
        section.tags("</li>").gap('\n');
    }
    section.tags("</ul>");
    if (folder) {
        section.tags("<p class=\"saved\">").words(labels.savedIn + " “" + *folder + "”").tags("</p>").gap('\n');
    }
    return section.tags("</section>");
}

}   // namespace

std::string escape(std::string_view text) {
    std::string escaped;
    escaped.reserve(text.size() + text.size() / 16);
    for (const char c : text) {
        switch (c) {
            case '&':
                escaped += "&amp;";
                break;
            case '<':
                escaped += "&lt;";
                break;
            case '>':
                escaped += "&gt;";
                break;
            case '"':
                escaped += "&quot;";
                break;
            default:
                escaped += c;
        }
    }
    return escaped;
}

Page page(const MailMessage& message, const std::string& mailbox, const std::string& dateText,
          const std::optional<std::string>& attachmentFolder, const PageLabels& labels) {
    Limits limits;
    Content content = contentOf(message, labels, limits);
    const std::string_view title = limits.line(message.subject.empty() ? labels.noSubject : message.subject);
    const Part rows = headerRows(message, mailbox, dateText, labels, limits);
    const Part files = filesSection(message.attachments, attachmentFolder, labels, limits);
    Part page;
    page.html.reserve(content.part.html.size() + 2 * styleSheet.size());
    page.tags("<!DOCTYPE html>\n<html><head><meta charset=\"utf-8\">\n")
        .tags("<meta http-equiv=\"Content-Security-Policy\" content=\"")
        .tags(contentSecurityPolicy)
        .tags("\">\n<title>")
        .tags(escape(title))
        .tags("</title>\n<style>")
        .tags(styleSheet)
        .tags("</style></head>\n<body>\n<header class=\"ostrel\"><h1>")
        .words(title)
        .gap('\n')
        .tags("</h1><table>")
        .append(rows)
        .tags("</table></header>\n")
        .append(notes(message, content.blockedImages, labels, limits))
        .tags("\n<main>");
    moveAddresses(content.pictures, page.html.size());
    page.append(content.part).gap('\n').tags("</main>\n").append(files).tags("\n</body></html>");
    return {std::move(page.html), std::move(content.pictures), std::move(page.text), std::move(content.language)};
}

}   // namespace ostrel::MessageHTML

namespace ostrel {

Page makePage(std::string html) {
    auto pictures = html::picturesOf(html);
    auto text = html::textOf(html);
    return {std::move(html), std::move(pictures), std::move(text)};
}

}   // namespace ostrel
