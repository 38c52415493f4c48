#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace ostrel::pdf {

struct Token {
    enum class Kind { number, string, name, word, bracket };   // word: an operator, or true, false, null
    Kind kind;
    std::string_view text;            // within the content; strings without their brackets, names without the slash
    std::size_t begin = 0, end = 0;   // in the content, brackets and slash included
    bool isHex = false;               // of a string

    std::string bytes() const;   // of a string, what it stands for
    double number() const;       // 0 if it is none that fits
};

// Cuts content into tokens (ISO 32000-1 §7.2, §7.3). The content must outlive it and its tokens.
class Tokens {
public:
    explicit Tokens(std::string_view content) : in_(content) {}

    // nullopt at the end, and where the content breaks off within a string; then isBroken().
    std::optional<Token> next();
    bool isBroken() const { return broken_; }

private:
    void skipSpace();
    void skipRegular();
    std::optional<Token> literal();
    std::optional<Token> hex();
    std::optional<Token> broken();
    std::string_view from(std::size_t start) const { return in_.substr(start, at_ - start); }

    std::string_view in_;
    std::size_t at_ = 0;
    bool broken_ = false;
};

}   // namespace ostrel::pdf
