#include "core/page/BareHTML.h"

#include "core/page/TagScanner.h"
#include "platform/Text.h"

#include <algorithm>
#include <array>

namespace ostrel::html {
namespace {

constexpr std::array kept = std::to_array<std::string_view>(
    {"a",     "b",      "blockquote", "br",  "caption", "center", "cite", "code",  "dd", "del",   "div", "dl", "dt",
     "em",    "h1",     "h2",         "h3",  "h4",      "h5",     "h6",   "hr",    "i",  "li",    "ol",  "p",  "pre",
     "small", "strong", "sub",        "sup", "table",   "tbody",  "td",   "tfoot", "th", "thead", "tr",  "u",  "ul"});
static_assert(std::ranges::is_sorted(kept));

bool isWebAddress(std::string_view url) {
    const auto start = text::lowerASCII(url.substr(0, 8));
    return start.starts_with("http://") || start.starts_with("https://") || start.starts_with("mailto:");
}

class Stripper : TagScanner {
public:
    explicit Stripper(std::string_view html) : TagScanner(html) {}

    std::string stripped() {
        while (!isAtEnd()) {
            const std::size_t end = std::min(in_.find('<', at_), in_.size());
            out_.append(in_, at_, end - at_);
            at_ = end;
            if (!isAtEnd()) markup();
        }
        return std::move(out_);
    }

private:
    void markup() {
        const Markup kind = markupHere();
        if (kind == Markup::other) return skipOther();
        if (kind == Markup::text) {
            out_ += "&lt;";
            ++at_;
            return;
        }
        constexpr std::size_t longest = 12;
        const auto name = text::lowerASCII(takeName(kind).substr(0, longest));
        const bool isLink = kind == Markup::start && name == "a";
        const auto target = skipAttributes(isLink ? "href" : "");
        if (std::ranges::binary_search(kept, std::string_view(name))) {
            out_.append(kind == Markup::end ? "</" : "<").append(name);
            if (isLink && isWebAddress(target)) link(target);
            out_ += '>';
        } else {
            out_ += ' ';   // what stood apart stays so
        }
        if (kind == Markup::start && isUnseen(name)) skipTo(name);
    }

    void link(std::string_view target) {
        out_ += " href=\"";
        for (const char c : target) c == '"' ? out_ += "&quot;" : out_ += c;
        out_ += '"';
    }

    std::string out_;
};

}   // namespace

std::string bare(std::string_view fragment) { return Stripper(fragment).stripped(); }

}   // namespace ostrel::html
