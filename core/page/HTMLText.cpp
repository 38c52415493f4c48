#include "core/page/HTMLText.h"

#include "core/page/CharacterReferences.h"
#include "core/page/TagScanner.h"
#include "platform/Text.h"

#include <algorithm>
#include <array>
#include <cstddef>

namespace ostrel::html {

namespace {

// Elements that begin and end a line.
constexpr std::array blocks = std::to_array<std::string_view>(
    {"address", "article",  "aside", "blockquote", "body",       "caption", "center", "dd",      "details", "dir",
     "div",     "dl",       "dt",    "fieldset",   "figcaption", "figure",  "footer", "form",    "h1",      "h2",
     "h3",      "h4",       "h5",    "h6",         "head",       "header",  "hr",     "html",    "legend",  "li",
     "main",    "menu",     "nav",   "ol",         "option",     "p",       "pre",    "section", "summary", "table",
     "tbody",   "textarea", "tfoot", "thead",      "tr",         "ul"});
static_assert(std::ranges::is_sorted(blocks));

class Reader : TagScanner {
public:
    explicit Reader(std::string_view html) : TagScanner(html) {}

    std::string text() {
        while (!isAtEnd()) {
            const char c = in_[at_];
            if (c == '<')
                markup();
            else if (c == '&')
                reference();
            else if (isSpace(c))
                space();
            else
                word();
        }
        dropBlank();
        return std::move(out_);
    }

private:
    void word() {
        std::size_t end = at_;
        while (end < in_.size() && in_[end] != '<' && in_[end] != '&' && !isSpace(in_[end])) ++end;
        out_.append(in_, at_, end - at_);
        at_ = end;
    }

    void space() {
        const char c = in_[at_++];
        if (isInPre_) {
            if (c != '\r') out_ += c;
        } else if (!isAtLineStart() && out_.back() != ' ' && out_.back() != '\t') {
            out_ += ' ';
        }
    }

    void reference() {
        const auto found = characterReference(in_.substr(at_));
        if (found)
            text::append(out_, found->character);
        else
            out_ += '&';
        at_ += found ? found->length : 1;
    }

    void markup() {
        const Markup kind = markupHere();
        if (kind == Markup::other) return skipOther();
        if (kind != Markup::text) return tag(kind);
        out_ += in_[at_++];
    }

    void tag(Markup kind) {
        constexpr std::size_t longest = 12;
        const bool isClosing = kind == Markup::end;
        const auto name = text::lowerASCII(takeName(kind).substr(0, longest));
        skipAttributes();
        if (std::ranges::binary_search(blocks, std::string_view(name)))
            startBlock(isClosing, name);
        else if (name == "br")
            endLine();
        else if (name == "td" || name == "th")
            startCell();
        if (name == "pre") isInPre_ = !isClosing;
        if (!isClosing && isUnseen(name)) skipTo(name);
    }

    bool isAtLineStart() const { return out_.empty() || out_.back() == '\n'; }
    void dropBlank() {
        if (!isInPre_ && !out_.empty() && out_.back() == ' ') out_.pop_back();
    }
    void startBlock(bool isClosing, std::string_view name) {
        const bool isFirstInCell = !isClosing && name != "tr" && out_.ends_with('\t');
        if (!isFirstInCell) startLine();
    }
    void startLine() {
        dropBlank();
        if (!isAtLineStart()) out_ += '\n';
    }
    void endLine() {
        dropBlank();
        out_ += '\n';
    }
    void startCell() {
        dropBlank();
        if (!isAtLineStart() && out_.back() != '\t') out_ += '\t';
    }

    std::string out_;
    bool isInPre_ = false;
};

}   // namespace

std::string textOf(std::string_view fragment) { return Reader(fragment).text(); }

}   // namespace ostrel::html
