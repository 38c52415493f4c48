#include "core/page/HTMLText.h"

#include "core/page/CharacterReferences.h"
#include "platform/ASCII.h"
#include "platform/Text.h"

#include <algorithm>
#include <array>
#include <cstddef>

namespace ostrel::html {

namespace {

constexpr std::size_t npos = std::string_view::npos;

// Elements that begin and end a line.
constexpr std::array blocks = std::to_array<std::string_view>(
    {"address", "article",  "aside", "blockquote", "body",       "caption", "center", "dd",      "details", "dir",
     "div",     "dl",       "dt",    "fieldset",   "figcaption", "figure",  "footer", "form",    "h1",      "h2",
     "h3",      "h4",       "h5",    "h6",         "head",       "header",  "hr",     "html",    "legend",  "li",
     "main",    "menu",     "nav",   "ol",         "option",     "p",       "pre",    "section", "summary", "table",
     "tbody",   "textarea", "tfoot", "thead",      "tr",         "ul"});
static_assert(std::ranges::is_sorted(blocks));

// Elements whose content is text to the very end tag, and not shown.
constexpr std::array<std::string_view, 6> unseen{"iframe", "noembed", "noframes", "script", "style", "title"};

bool isSpace(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\f' || c == '\r'; }

class Reader {
public:
    explicit Reader(std::string_view html) : in_(html) {}

    std::string text() {
        while (at_ < in_.size()) {
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
        const auto rest = in_.substr(at_ + 1);
        if (rest.starts_with("!--")) return skipPast("-->", at_ + 2);   // "<!-->" is whole
        const bool isClosing = rest.starts_with('/');
        const auto after = rest.substr(isClosing ? 1 : 0);
        if (!after.empty() && ascii::isLetter(after[0])) return tag(isClosing);
        if (isClosing || rest.starts_with('!') || rest.starts_with('?')) return skipPast(">", at_);
        out_ += in_[at_++];
    }

    void tag(bool isClosing) {
        at_ += isClosing ? 2 : 1;
        constexpr std::size_t longest = 12;
        const auto name = text::lowerASCII(nameAt(at_).substr(0, longest));
        skipAttributes();
        if (std::ranges::binary_search(blocks, std::string_view(name)))
            startBlock(isClosing, name);
        else if (name == "br")
            endLine();
        else if (name == "td" || name == "th")
            startCell();
        if (name == "pre") isInPre_ = !isClosing;
        if (!isClosing && std::ranges::find(unseen, name) != unseen.end()) skipTo(name);
    }

    std::string_view nameAt(std::size_t begin) const {
        std::size_t end = begin;
        while (end < in_.size() && !isSpace(in_[end]) && in_[end] != '>' && in_[end] != '/') ++end;
        return in_.substr(begin, end - begin);
    }

    // To behind the ">" that ends the tag. One within quotes does not, and only a value can be quoted.
    void skipAttributes() {
        while ((at_ = in_.find_first_of("=>", at_)) != npos) {
            if (in_[at_++] == '>') return;
            while (at_ < in_.size() && isSpace(in_[at_])) ++at_;
            if (at_ == in_.size()) return;
            if (in_[at_] == '"' || in_[at_] == '\'') {
                at_ = in_.find(in_[at_], at_ + 1);
                if (at_ == npos) break;
                ++at_;
            } else {
                while (at_ < in_.size() && !isSpace(in_[at_]) && in_[at_] != '>') ++at_;
            }
        }
        at_ = in_.size();
    }

    void skipPast(std::string_view end, std::size_t from) {
        const auto found = in_.find(end, from);
        at_ = found == npos ? in_.size() : found + end.size();
    }

    // To the end tag of the element.
    void skipTo(std::string_view name) {
        for (at_ = std::min(in_.find("</", at_), in_.size()); at_ < in_.size();
             at_ = std::min(in_.find("</", at_ + 2), in_.size())) {
            if (text::lowerASCII(nameAt(at_ + 2).substr(0, name.size() + 1)) == name) return;
        }
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

    std::string_view in_;
    std::size_t at_ = 0;
    std::string out_;
    bool isInPre_ = false;
};

}   // namespace

std::string textOf(std::string_view fragment) { return Reader(fragment).text(); }

}   // namespace ostrel::html
