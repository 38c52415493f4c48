#include "pdf/content/Tokens.h"

#include "pdf/content/Hex.h"

#include <algorithm>
#include <array>
#include <charconv>
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

std::string hexBytes(std::string_view digits) {
    std::string bytes;
    int high = -1;
    for (const char c : digits) {
        const int digit = hex::digit(c);
        if (digit < 0) continue;
        if (high < 0)
            high = digit;
        else
            bytes += static_cast<char>(std::exchange(high, -1) * 16 + digit);
    }
    if (high >= 0) bytes += static_cast<char>(high * 16);
    return bytes;
}

// ISO 32000-1 §7.3.4.2
std::string literalBytes(std::string_view text) {
    const auto isOctal = [&](std::size_t at) { return at < text.size() && text[at] >= '0' && text[at] <= '7'; };
    std::string bytes;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const bool isEscaped = text[i] == '\\';
        if (isEscaped && ++i == text.size()) break;
        const bool isLineEnd = text[i] == '\r' || text[i] == '\n';
        if (text[i] == '\r' && i + 1 < text.size() && text[i + 1] == '\n') ++i;
        if (isLineEnd) {
            if (!isEscaped) bytes += '\n';
        } else if (!isEscaped) {
            bytes += text[i];
        } else if (isOctal(i)) {
            int code = text[i] - '0';
            for (int digits = 1; digits < 3 && isOctal(i + 1); ++digits) code = code * 8 + (text[++i] - '0');
            bytes += static_cast<char>(code & 0xFF);
        } else {
            static constexpr std::string_view escaped = "nrtbf", meant = "\n\r\t\b\f";
            const auto which = escaped.find(text[i]);
            bytes += which == std::string_view::npos ? text[i] : meant[which];
        }
    }
    return bytes;
}

}   // namespace

std::string Token::bytes() const { return isHex ? hexBytes(text) : literalBytes(text); }

double Token::number() const {
    const auto digits = text.starts_with('+') ? text.substr(1) : text;
    double value = 0;
    std::from_chars(digits.data(), digits.data() + digits.size(), value);
    return value;
}

std::optional<Token> Tokens::next() {
    skipSpace();
    if (at_ >= in_.size()) return std::nullopt;
    const auto start = at_;
    switch (const char c = in_[at_++]) {
        case '(':
            return literal();
        case '/':
            skipRegular();
            return Token{Token::Kind::name, from(start + 1), start, at_};
        case '<':
            if (at_ >= in_.size() || in_[at_] != '<') return hex();
            ++at_;
            break;
        case '>':
            if (at_ < in_.size() && in_[at_] == '>') ++at_;
            break;
        default: {
            if (!isRegular(c)) break;
            skipRegular();
            const bool isNumber = (c >= '0' && c <= '9') || c == '+' || c == '-' || c == '.';
            return Token{isNumber ? Token::Kind::number : Token::Kind::word, from(start), start, at_};
        }
    }
    return Token{Token::Kind::bracket, from(start), start, at_};
}

void Tokens::skipSpace() {
    for (; at_ < in_.size(); ++at_) {
        if (in_[at_] == '%')
            at_ = std::min(in_.find_first_of("\r\n", at_), in_.size() - 1);
        else if (!isSpace(in_[at_]))
            return;
    }
}

void Tokens::skipRegular() {
    while (at_ < in_.size() && isRegular(in_[at_])) ++at_;
}

std::optional<Token> Tokens::literal() {
    const auto start = at_;
    for (int depth = 1; at_ < in_.size(); ++at_) {
        if (in_[at_] == '\\')
            ++at_;
        else if (in_[at_] == '(')
            ++depth;
        else if (in_[at_] == ')' && --depth == 0) {
            const auto text = from(start);
            return Token{Token::Kind::string, text, start - 1, ++at_};
        }
    }
    return broken();
}

std::optional<Token> Tokens::hex() {
    const auto start = at_;
    const auto end = in_.find('>', at_);
    if (end == std::string_view::npos) return broken();
    at_ = end + 1;
    return Token{Token::Kind::string, in_.substr(start, end - start), start - 1, at_, true};
}

std::optional<Token> Tokens::broken() {
    broken_ = true;
    at_ = in_.size();
    return std::nullopt;
}

}   // namespace ostrel::pdf
