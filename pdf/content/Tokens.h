#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace ostrel::pdf {

struct Token {
    enum class Kind { string, name, word, other };   // word: a number or an operator
    Kind kind;
    std::string_view text;   // as written, within the content; for strings without their brackets
    bool isHex = false;

    bool isNumber() const;
    std::string bytes() const;   // of a string, what it stands for
};

// Cuts content into tokens (ISO 32000-1 §7.2, §7.3). The content must outlive it and its tokens.
class Tokens {
public:
    explicit Tokens(std::string_view content) : in_(content) {}

    // Nothing at the end, and where the content breaks off within a string; then isBroken().
    std::optional<Token> next();
    bool isBroken() const { return broken_; }

private:
    void skipSpace();
    std::string_view regular();
    std::optional<Token> literal();
    std::optional<Token> hex();
    std::optional<Token> broken();

    std::string_view in_;
    std::size_t at_ = 0;
    bool broken_ = false;
};

}   // namespace ostrel::pdf
