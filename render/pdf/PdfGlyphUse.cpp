#include "render/pdf/PdfGlyphUse.h"

#include <algorithm>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace ostrel::pdf {
namespace {

bool isSpace(char c) { return c == ' ' || c == '\n' || c == '\r' || c == '\t' || c == '\f' || c == '\0'; }
bool isDelimiter(char c) { return std::string_view("()<>[]{}/%").find(c) != std::string_view::npos; }
bool isRegular(char c) { return !isSpace(c) && !isDelimiter(c); }

int hexDigit(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

struct Token {
    enum class Kind { string, name, word, other };   // word: a number or an operator
    Kind kind;
    std::string_view text;   // as written; for strings without their brackets
    bool isHex = false;
};

// Cuts content into tokens (ISO 32000-1 §7.2, §7.3).
class Tokens {
public:
    explicit Tokens(std::string_view content) : in_(content) {}

    // Nothing at the end, and where the content breaks off within a string; then isBroken().
    std::optional<Token> next() {
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
    bool isBroken() const { return broken_; }

private:
    void skipSpace() {
        for (; at_ < in_.size(); ++at_) {
            if (in_[at_] == '%')
                at_ = std::min(in_.find_first_of("\r\n", at_), in_.size() - 1);
            else if (!isSpace(in_[at_]))
                return;
        }
    }
    std::string_view regular() {
        const auto start = at_;
        while (at_ < in_.size() && isRegular(in_[at_])) ++at_;
        return in_.substr(start, at_ - start);
    }
    std::optional<Token> literal() {
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
    std::optional<Token> hex() {
        const auto end = in_.find('>', at_);
        if (end == std::string_view::npos) return broken();
        const auto start = std::exchange(at_, end + 1);
        return Token{Token::Kind::string, in_.substr(start, end - start), true};
    }
    std::optional<Token> broken() {
        broken_ = true;
        at_ = in_.size();
        return std::nullopt;
    }

    std::string_view in_;
    std::size_t at_ = 0;
    bool broken_ = false;
};

std::string hexBytes(std::string_view digits) {
    std::string bytes;
    int high = -1;
    for (const char c : digits) {
        const int digit = hexDigit(c);
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

bool isShow(std::string_view op) { return op == "Tj" || op == "TJ" || op == "'" || op == "\""; }
bool isNumber(std::string_view word) {
    return std::string_view("0123456789+-.").find(word[0]) != std::string_view::npos;
}

// A font as content sees it. By itself: one that could not be told.
struct Font {
    bool isKnown = false;
    CodeSet* codes = nullptr;   // null: its codes do not matter
    std::size_t bytesPerCode = 1;
};

// Follows the font through one stream of content (ISO 32000-1 §8.4, §9.4).
class Reader {
public:
    Reader(QPDFObjectHandle resources, std::map<QPDFObjGen, CodeSet>& codes) : resources_(resources), codes_(codes) {}

    // False as soon as text may be shown in a font that cannot be told.
    bool read(std::string_view content) {
        Tokens tokens(content);
        std::vector<Token> strings;   // operands of the operator to come
        std::string_view name;
        while (const auto token = tokens.next()) {
            if (token->kind == Token::Kind::string) strings.push_back(*token);
            if (token->kind == Token::Kind::name) name = token->text;
            if (token->kind != Token::Kind::word || isNumber(token->text)) continue;
            if (!apply(token->text, name, strings)) return false;
            strings.clear();
        }
        return !tokens.isBroken();
    }

private:
    bool apply(std::string_view op, std::string_view name, const std::vector<Token>& strings) {
        if (op == "Tf") {
            font_ = fontNamed(name);
        } else if (isShow(op)) {
            return std::ranges::all_of(strings, [&](const Token& text) { return show(text); });
        } else if (op == "q") {
            saved_.push_back(font_);
        } else if (op == "Q") {
            font_ = saved_.empty() ? Font{} : saved_.back();
            if (!saved_.empty()) saved_.pop_back();
        } else if (op == "gs") {
            auto state = resource("/ExtGState", name);
            if (!state.isDictionary() || state.hasKey("/Font")) font_ = {};
        }
        return op != "BI";   // an inline image's bytes can look like anything
    }

    bool show(const Token& text) {
        if (!font_.isKnown || !font_.codes) return font_.isKnown;
        const auto bytes = text.isHex ? hexBytes(text.text) : literalBytes(text.text);
        if (bytes.size() % font_.bytesPerCode != 0) return false;
        for (std::size_t i = 0; i < bytes.size(); i += font_.bytesPerCode) {
            std::size_t code = 0;
            for (std::size_t k = 0; k < font_.bytesPerCode; ++k)
                code = code * 256 + static_cast<unsigned char>(bytes[i + k]);
            font_.codes->set(code);
        }
        return true;
    }

    Font fontNamed(std::string_view name) {
        if (const auto found = fonts_.find(name); found != fonts_.end()) return found->second;
        auto dict = resource("/Font", name);
        Font font{dict.isDictionary()};
        if (font.isKnown && dict.isIndirect()) {
            auto kind = dict.getKey("/Subtype");
            const bool isComposite = kind.isNameAndEquals("/Type0");
            if (isComposite || kind.isNameAndEquals("/Type3")) font.codes = &codes_[dict.getObjGen()];
            if (isComposite) font.bytesPerCode = 2;
        }
        return fonts_.emplace(name, font).first->second;
    }

    QPDFObjectHandle resource(const char* kind, std::string_view name) {
        auto all = resources_.isDictionary() ? resources_.getKey(kind) : QPDFObjectHandle::newNull();
        return all.isDictionary() ? all.getKey("/" + std::string(name)) : QPDFObjectHandle::newNull();
    }

    QPDFObjectHandle resources_;
    std::map<QPDFObjGen, CodeSet>& codes_;
    std::map<std::string, Font, std::less<>> fonts_;
    Font font_;
    std::vector<Font> saved_;
};

}   // namespace

void GlyphUse::read(std::string_view content, QPDFObjectHandle resources) {
    if (complete_) complete_ = Reader(resources, codes_).read(content);
}

}   // namespace ostrel::pdf
