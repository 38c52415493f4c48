#include "core/page/PageParts.h"

#include <cstddef>

namespace ostrel::MessageHTML {
namespace {

constexpr std::string_view beginning = "<!DOCTYPE html>\n<html><head><meta charset=\"utf-8\">\n";
constexpr std::string_view styleBegin = "<style>";
constexpr std::string_view headBegin = "</style></head>\n<body>\n<header class=\"ostrel\">";
constexpr std::string_view mailBegin = "\n<main>";
constexpr std::string_view mailEnd = "</main>\n";
constexpr std::string_view end = "\n</body></html>";
constexpr std::size_t headTag = headBegin.rfind('<');

}   // namespace

std::optional<PageParts> partsOf(std::string_view page) {
    if (!page.starts_with(beginning) || !page.ends_with(end)) return std::nullopt;
    const std::size_t style = page.find(styleBegin, beginning.size());
    const std::size_t head = page.find(headBegin, style);
    const std::size_t mail = page.find(mailBegin, head);
    const std::size_t tail = page.rfind(mailEnd);
    if (style == page.npos || head == page.npos || mail == page.npos || tail == page.npos || tail < mail)
        return std::nullopt;
    // The box around the mail closes itself; whatever swallows the text that follows would print its tag.
    constexpr std::string_view boxEnd = "</div>";
    std::string_view document = page.substr(0, tail);
    if (document.ends_with(boxEnd)) document.remove_suffix(boxEnd.size());
    const auto stretch = [&](std::size_t from, std::size_t to) { return page.substr(from, to - from); };
    return PageParts{.styleSheet = stretch(style + styleBegin.size(), head),
                     .head = stretch(head + headTag, mail),
                     .mail = stretch(mail + mailBegin.size(), tail),
                     .document = document,
                     .files = stretch(tail + mailEnd.size(), page.size() - end.size())};
}

}   // namespace ostrel::MessageHTML
