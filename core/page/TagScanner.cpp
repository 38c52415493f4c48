#include "core/page/TagScanner.h"

#include "platform/ASCII.h"
#include "platform/Text.h"

#include <algorithm>
#include <array>

namespace ostrel::html {

bool TagScanner::isUnseen(std::string_view name) {
    static constexpr std::array<std::string_view, 6> unseen{"iframe", "noembed", "noframes",
                                                            "script", "style",   "title"};
    return std::ranges::find(unseen, name) != unseen.end();
}

TagScanner::Markup TagScanner::markupHere() const {
    const auto rest = in_.substr(at_ + 1);
    const bool isClosing = rest.starts_with('/');
    const auto after = rest.substr(isClosing ? 1 : 0);
    if (!after.empty() && ascii::isLetter(after[0])) return isClosing ? Markup::end : Markup::start;
    return isClosing || rest.starts_with('!') || rest.starts_with('?') ? Markup::other : Markup::text;
}

void TagScanner::skipOther() {
    if (in_.substr(at_ + 1).starts_with("!--"))
        skipPast("-->", at_ + 2);   // "<!-->" is whole
    else
        skipPast(">", at_);
}

std::string_view TagScanner::takeName(Markup kind) {
    at_ += kind == Markup::end ? 2 : 1;
    const auto name = nameAt(at_);
    at_ += name.size();
    return name;
}

std::string_view TagScanner::nameAt(std::size_t begin) const {
    std::size_t end = begin;
    while (end < in_.size() && !isSpace(in_[end]) && in_[end] != '>' && in_[end] != '/') ++end;
    return in_.substr(begin, end - begin);
}

std::string_view TagScanner::skipAttributes(std::string_view wanted) {
    std::string_view found;
    for (std::size_t begin = at_; (at_ = in_.find_first_of("=>", at_)) != npos; begin = at_) {
        const auto before = text::trimASCII(in_.substr(begin, at_ - begin), " \t\n\f\r");
        if (in_[at_++] == '>') return found;
        while (at_ < in_.size() && isSpace(in_[at_])) ++at_;
        if (at_ == in_.size()) return found;
        const bool isQuoted = in_[at_] == '"' || in_[at_] == '\'';
        const std::size_t value = isQuoted ? at_ + 1 : at_;
        if (isQuoted)
            at_ = in_.find(in_[at_], at_ + 1);
        else
            while (at_ < in_.size() && !isSpace(in_[at_]) && in_[at_] != '>') ++at_;
        if (at_ == npos) break;
        const auto name = before.substr(before.find_last_of(" \t\n\f\r/\"'") + 1);
        if (!wanted.empty() && found.empty() && name.size() == wanted.size() && text::lowerASCII(name) == wanted)
            found = in_.substr(value, at_ - value);
        if (isQuoted) ++at_;
    }
    at_ = in_.size();
    return found;
}

void TagScanner::skipPast(std::string_view end, std::size_t from) {
    const auto found = in_.find(end, from);
    at_ = found == npos ? in_.size() : found + end.size();
}

void TagScanner::skipTo(std::string_view name) {
    for (at_ = std::min(in_.find("</", at_), in_.size()); at_ < in_.size();
         at_ = std::min(in_.find("</", at_ + 2), in_.size())) {
        if (text::lowerASCII(nameAt(at_ + 2).substr(0, name.size() + 1)) == name) return;
    }
}

}   // namespace ostrel::html
