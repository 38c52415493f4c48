#pragma once

#include "platform/ASCII.h"

#include <cstddef>
#include <string_view>

namespace ostrel {

// A reading position in a text that outlives it. Rules that fail put it back with rewind().
class Cursor {
public:
    explicit Cursor(std::string_view text) : text_(text) {}

    bool atEnd() const { return at_ == text_.size(); }
    std::size_t position() const { return at_; }
    void rewind(std::size_t position) { at_ = position; }

    // Returns the char so many places ahead; NUL past the end, so a rule needs no bounds check of its own.
    char peek(std::size_t ahead = 0) const { return ahead < text_.size() - at_ ? text_[at_ + ahead] : '\0'; }
    void skip(std::size_t count = 1) { at_ += count < text_.size() - at_ ? count : text_.size() - at_; }

    bool take(char c) {
        if (atEnd() || text_[at_] != c) return false;
        ++at_;
        return true;
    }
    template <typename Predicate>
    std::string_view takeWhile(Predicate accepts) {
        const auto start = at_;
        while (!atEnd() && accepts(text_[at_])) ++at_;
        return since(start);
    }
    // Returns the text between start and the cursor.
    std::string_view since(std::size_t start) const { return text_.substr(start, at_ - start); }
    std::string_view text() const { return text_; }

private:
    std::string_view text_;
    std::size_t at_ = 0;
};

namespace ascii {
// Blanks, line breaks and every other control character: what stands between two tokens of a field.
constexpr bool isGap(char c) { return (c >= '\0' && c <= ' ') || c == '\x7f'; }
}   // namespace ascii

}   // namespace ostrel
