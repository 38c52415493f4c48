#include "render/pdf/PdfTokens.h"

#include <algorithm>
#include <array>
#include <utility>

namespace ostrel::pdf {
namespace {

enum class Class : unsigned char { regular, space, delimiter };

constexpr auto classes = [] {
    std::array<Class, 256> all{};
    for (const unsigned char c : std::string_view("\0\t\n\f\r ", 6)) all[c] = Class::space;
    for (const unsigned char c : std::string_view("()<>[]{}/%")) all[c] = Class::delimiter;
    return all;
}();

bool isSpace(char c) { return classes[static_cast<unsigned char>(c)] == Class::space; }
bool isRegular(char c) { return classes[static_cast<unsigned char>(c)] == Class::regular; }

}   // namespace

bool Token::isNumber() const {
    const char c = text.empty() ? '\0' : text[0];
    return kind == Kind::word && ((c >= '0' && c <= '9') || c == '+' || c == '-' || c == '.');
}

std::optional<Token> Tokens::next() {
    skipSpace();
    if (at_ >= in_.size()) return std::nullopt;
    const auto start = at_;
    switch (const char c = in_[at_++]) {
        case '(':
            return literal();
        case '/':
            return Token{Token::Kind::name, regular()};
        case '<':
            if (at_ < in_.size() && in_[at_] != '<') return hex();
            break;
        default:
            if (!isRegular(c)) break;
            regular();
            return Token{Token::Kind::word, in_.substr(start, at_ - start)};
    }
    return Token{Token::Kind::other, in_.substr(start, 1)};
}

void Tokens::skipSpace() {
    for (; at_ < in_.size(); ++at_) {
        if (in_[at_] == '%')
            at_ = std::min(in_.find_first_of("\r\n", at_), in_.size() - 1);
        else if (!isSpace(in_[at_]))
            return;
    }
}

std::string_view Tokens::regular() {
    const auto start = at_;
    while (at_ < in_.size() && isRegular(in_[at_])) ++at_;
    return in_.substr(start, at_ - start);
}

std::optional<Token> Tokens::literal() {
    const auto start = at_;
    for (int depth = 1; at_ < in_.size(); ++at_) {
        if (in_[at_] == '\\')
            ++at_;
        else if (in_[at_] == '(')
            ++depth;
        else if (in_[at_] == ')' && --depth == 0)
            return Token{Token::Kind::string, in_.substr(start, at_++ - start)};
    }
    return broken();
}

std::optional<Token> Tokens::hex() {
    const auto end = in_.find('>', at_);
    if (end == std::string_view::npos) return broken();
    const auto start = std::exchange(at_, end + 1);
    return Token{Token::Kind::string, in_.substr(start, end - start), true};
}

std::optional<Token> Tokens::broken() {
    broken_ = true;
    at_ = in_.size();
    return std::nullopt;
}

}   // namespace ostrel::pdf
