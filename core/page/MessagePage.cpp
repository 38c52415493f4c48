#include "core/page/HTMLMatchers.h"
#include "core/page/MessageHTML.h"
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

struct Content {
    std::string html;
    std::size_t blockedImages = 0;
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

Content contentOf(const MailMessage& message, const PageLabels& labels) {
    if (hasText(message.htmlBody)) {
        auto [html, blocked] = sanitize(*message.htmlBody, message.inlineImages);
        return {"<div class=\"html\">" + std::move(html) + "</div>", blocked};
    }
    if (hasText(message.textBody)) return {"<div class=\"plain\">" + linked(escape(*message.textBody)) + "</div>"};
    return {"<p class=\"none\">" + escape(labels.noText) + "</p>"};
}

std::string headerRows(const MailMessage& message, const std::string& mailbox, const std::string& dateText,
                       const PageLabels& labels) {
    std::string rows;
    const auto add = [&](const std::string& title, const std::string& value) {
        rows += "<tr><th>" + escape(title) + "</th><td>" + escape(value) + "</td></tr>";
    };
    add(labels.from, MailMessage::line(message.from));
    add(labels.to, MailMessage::line(message.to));
    if (!message.cc.empty()) add(labels.cc, MailMessage::line(message.cc));
    add(labels.date, dateText);
    if (!mailbox.empty()) add(labels.mailbox, mailbox);
    return rows;
}

std::string notes(const MailMessage& message, std::size_t blockedImages, const PageLabels& labels) {
    std::string notes;
    const auto add = [&](const std::string& note) { notes += "<p class=\"note\">" + escape(note) + "</p>"; };
    if (blockedImages > 0) add(labels.remoteBlocked(blockedImages));
    if (std::ranges::find(message.problems, problem::truncated) != message.problems.end()) add(labels.truncated);
    return notes;
}

// Empty when the size of an attachment that is there cannot be had.
std::string sizePart(const MailAttachment& attachment, const PageLabels& labels) {
    const auto part = [](const std::string& text) { return " <span class=\"size\">(" + text + ")</span>"; };
    if (!attachment.isAvailable()) return part(escape(labels.missing));
    const auto size = attachment.size();
    return size ? part(locale::fileSize(*size)) : "";
}

std::string filesSection(const std::vector<MailAttachment>& attachments, const std::optional<std::string>& folder,
                         const PageLabels& labels) {
    if (attachments.empty()) return "";
    std::string section = "<section class=\"files\"><h2>" + escape(labels.attachments) + " (" +
                          std::to_string(attachments.size()) + ")</h2><ul>";
    for (const auto& attachment : attachments) {
        section += "<li>" + escape(attachment.filename) + sizePart(attachment, labels) + "</li>";
    }
    section += "</ul>";
    if (folder) section += "<p class=\"saved\">" + escape(labels.savedIn) + " “" + escape(*folder) + "”</p>";
    return section + "</section>";
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

std::string page(const MailMessage& message, const std::string& mailbox, const std::string& dateText,
                 const std::optional<std::string>& attachmentFolder, const PageLabels& labels) {
    const Content content = contentOf(message, labels);
    const std::string title = escape(message.subject.empty() ? labels.noSubject : message.subject);
    std::string page;
    page.reserve(content.html.size() + 2 * styleSheet.size());
    page.append("<!DOCTYPE html>\n<html><head><meta charset=\"utf-8\">\n")
        .append("<meta http-equiv=\"Content-Security-Policy\" content=\"")
        .append(contentSecurityPolicy)
        .append("\">\n<title>")
        .append(title)
        .append("</title>\n<style>")
        .append(styleSheet)
        .append("</style></head>\n<body>\n<header class=\"ostrel\"><h1>")
        .append(title)
        .append("</h1><table>")
        .append(headerRows(message, mailbox, dateText, labels))
        .append("</table></header>\n")
        .append(notes(message, content.blockedImages, labels))
        .append("\n<main>")
        .append(content.html)
        .append("</main>\n")
        .append(filesSection(message.attachments, attachmentFolder, labels))
        .append("\n</body></html>");
    return page;
}

}   // namespace ostrel::MessageHTML
