#include "core/message/MailAddress.h"

#include "core/message/Comments.h"
#include "core/message/Cursor.h"
#include "core/message/EncodedWords.h"
#include "platform/Text.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

namespace ostrel {

namespace {

enum class Kind : std::uint8_t {
    word,      // anything but the rest: atoms with their dots, raw 8-bit text, encoded words; escapes still in it
    quoted,    // inside of a quoted string, escapes still in it
    literal,   // inside of a domain literal
    comment,   // inside of a comment, escapes still in it
    at,
    comma,
    semicolon,
    colon,
    open,
    close,
    end
};

struct Token {
    Kind kind = Kind::end;
    std::string_view text;
    bool isAfterBlank = false;   // or after a comment, which separates like a blank
};
using Tokens = std::span<const Token>;

// Divides the value into tokens. Structure is found before encoded words are decoded (RFC 2047 §6.1), so that a comma
// in a decoded name separates nothing.
class Lexer {
public:
    explicit Lexer(std::string_view value) : in_(value), comments_(value) {}

    Token next() {
        bool isAfterBlank = lastKind_ == Kind::comment;
        for (;;) {
            if (!in_.takeWhile(ascii::isGap).empty()) isAfterBlank = true;
            // A quote that nothing closes is dropped; the text behind it is read as if it were not there.
            if (in_.peek() != '"' || isQuoteHere()) break;
            in_.skip();
        }
        auto token = read();
        token.isAfterBlank = isAfterBlank;
        lastKind_ = token.kind;
        return token;
    }

private:
    Token read() {
        if (in_.atEnd()) return {};
        const auto start = in_.position();
        if (const auto kind = delimiter(in_.peek())) {
            in_.skip();
            return {*kind, in_.since(start)};
        }
        if (in_.peek() == '"') return quotedString();
        if (const auto inside = comments_.take(in_)) return {Kind::comment, *inside};
        if (in_.peek() == '[' && lastKind_ == Kind::at) {
            if (const auto inside = domainLiteral()) return {Kind::literal, *inside};
        }
        return {Kind::word, word()};
    }

    static std::optional<Kind> delimiter(char c) {
        switch (c) {
            case '@':
                return Kind::at;
            case ',':
                return Kind::comma;
            case ';':
                return Kind::semicolon;
            case ':':
                return Kind::colon;
            case '<':
                return Kind::open;
            case '>':
                return Kind::close;
            default:
                return std::nullopt;
        }
    }

    bool endsWord() const {
        const char c = in_.peek();
        return ascii::isGap(c) || c == '"' || delimiter(c) || comments_.startsAt(in_.position());
    }

    std::string_view word() {
        const auto start = in_.position();
        do {
            if (in_.peek() == '\\') {
                in_.skip(2);
            } else if (const auto end = encodedWordEnd()) {
                in_.rewind(*end);
            } else {
                in_.skip();
            }
        } while (!in_.atEnd() && !endsWord());
        return in_.since(start);
    }

    // Where the encoded word at the cursor ends. Commas and brackets inside belong to it, whether the sender was
    // allowed to write them or not; another "=?" inside means that this one lacks its end.
    std::optional<std::size_t> encodedWordEnd() {
        if (in_.peek() != '=' || in_.peek(1) != '?') return std::nullopt;
        const auto all = in_.text();
        const auto label = all.substr(in_.position() + 2, 41);
        const auto labelSize = label.find('?');
        if (labelSize == label.npos) return std::nullopt;
        const auto letter = in_.position() + 2 + labelSize + 1;
        if (letter + 1 >= all.size() || all[letter + 1] != '?') return std::nullopt;
        if (std::string_view("bBqQ").find(all[letter]) == std::string_view::npos) return std::nullopt;
        const auto payload = letter + 2;
        const auto end = ahead(terminator_, "?=", payload);
        // The payload's last "=" (base64 padding) and the "?" of the terminator look like one more beginning.
        if (end == all.npos) return std::nullopt;
        const auto beginning = ahead(beginning_, "=?", payload);
        if (beginning < end && beginning + 1 != end) return std::nullopt;
        return end + 2;
    }

    // The next place of the text from position on. Asked with growing positions only: an answer that still lies ahead
    // is kept, so that a flood of beginnings without an end is searched once.
    std::size_t ahead(std::optional<std::size_t>& known, std::string_view text, std::size_t position) const {
        if (!known || *known < position) known = in_.text().find(text, position);
        return *known;
    }

    bool isQuoteHere() {
        quoteEnd_ = closingQuote();
        return quoteEnd_.has_value();
    }

    Token quotedString() {
        const auto start = in_.position() + 1;
        in_.rewind(*quoteEnd_ + 1);
        return {Kind::quoted, in_.text().substr(start, *quoteEnd_ - start)};
    }

    // The quote that closes the one at the cursor.
    std::optional<std::size_t> closingQuote() {
        if (isWithoutQuotes_) return std::nullopt;
        const auto all = in_.text();
        bool hasAddress = false;
        for (auto at = in_.position() + 1; at < all.size(); ++at) {
            if (all[at] == '\\')
                ++at;
            else if (all[at] == '>')
                hasAddress = true;
            else if (all[at] == '"') {
                // A missing quote turns the others around: in `"Kim <kim@x.org>, "Ann" <ann@x.org>` the second one
                // opens.
                const bool opens = hasAddress && ascii::isGap(all[at - 1]) && at + 1 < all.size() &&
                                   !ascii::isGap(all[at + 1]) && !delimiter(all[at + 1]);
                if (opens) return std::nullopt;
                return at;
            }
        }
        isWithoutQuotes_ = true;
        return std::nullopt;
    }

    // domain-literal := "[" *([FWS] dtext) [FWS] "]"    (RFC 5322 §3.4.1)
    std::optional<std::string_view> domainLiteral() {
        const auto end = ahead(bracket_, "]", in_.position());
        if (end == std::string_view::npos) return std::nullopt;
        const auto start = in_.position() + 1;
        in_.rewind(end + 1);
        return in_.text().substr(start, end - start);
    }

    Cursor in_;
    Comments comments_;
    Kind lastKind_ = Kind::end;
    std::optional<std::size_t> terminator_, beginning_, bracket_, quoteEnd_;
    bool isWithoutQuotes_ = false;   // no quote closes from here on
};

// quoted-pair := "\" (VCHAR / WSP)    (RFC 5322 §3.2.1). Before a letter or digit the backslash stays: no sender
// escapes those, but many write DOMAIN\user as it is.
std::string unescape(std::string_view text) {
    std::string out;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '\\' && i + 1 < text.size() && !ascii::isAlphanumeric(text[i + 1])) ++i;
        out += text[i];
    }
    return out;
}

// Decodes, and makes one line of it: encoded words can carry line breaks, which would break every list they are shown
// in.
std::string decodeLine(std::string_view raw) {
    const auto decoded = EncodedWords::decode(raw);
    std::string out;
    for (const char c : decoded) {
        if (!ascii::isGap(c))
            out += c;
        else if (!out.empty() && out.back() != ' ')
            out += ' ';
    }
    return std::string(text::trimBlanksAndNewlines(out));
}

// Some clients quote a name that they were given quoted, with either kind of quote, as in "'Kim Lee'".
std::string_view withoutWrappingQuotes(std::string_view name) {
    if (name.find_first_not_of("'\"") == name.npos) return {};
    for (int layer = 0; layer < 3 && name.size() >= 2; ++layer) {
        const char quote = name.front();
        if ((quote != '\'' && quote != '"') || name.back() != quote) break;
        const auto inside = name.substr(1, name.size() - 2);
        const char closing[] = {quote, ' ', '\0'};
        if (inside.find(closing) != inside.npos) break;   // 'Kim' and 'Ann'
        name = text::trimBlanksAndNewlines(inside);
    }
    return name;
}

std::string cleanName(std::string_view raw) { return std::string(withoutWrappingQuotes(decodeLine(raw))); }

std::string cleanEmail(std::string_view raw) {
    auto email = decodeLine(raw);
    if (email.size() >= 2 && email.front() == '\'' && email.back() == '\'') email = email.substr(1, email.size() - 2);
    return email;
}

bool looksLikeAddress(std::string_view text) {
    const auto at = text.find('@');
    return at != text.npos && at > 0 && at + 1 < text.size() && text.find_first_of(" <>\",;") == text.npos;
}

// A name without an address. Some clients encode or quote "Kim Lee <kim@x.org>" or the bare address as one whole; the
// decoded text is taken apart only where it holds one address, never split into several.
MailAddress addressFromName(std::string name) {
    if (looksLikeAddress(name)) return {"", std::move(name)};
    const auto open = name.find('<');
    if (open != name.npos && name.back() == '>') {
        const auto email = std::string_view(name).substr(open + 1, name.size() - open - 2);
        if (looksLikeAddress(email)) return {cleanName(std::string_view(name).substr(0, open)), std::string(email)};
    }
    return {std::move(name), ""};
}

// phrase := 1*word, dots and other slips kept    (RFC 5322 §3.2.5, §4.1)
std::string spellPhrase(Tokens tokens) {
    std::string raw;
    for (const auto& token : tokens) {
        if (token.isAfterBlank && !raw.empty()) raw += ' ';
        raw += token.kind == Kind::literal ? "[" + std::string(token.text) + "]" : unescape(token.text);
    }
    return cleanName(raw);
}

bool startsWithDot(const Token& token) { return token.kind == Kind::word && token.text.front() == '.'; }
bool endsWithDot(const Token& token) { return token.kind == Kind::word && token.text.back() == '.'; }

// addr-spec := local-part "@" domain    (RFC 5322 §3.4.1; §4.4 allows blanks around "@" and ".")
std::string spellAddress(Tokens tokens) {
    std::string raw;
    for (std::size_t i = 0; i < tokens.size(); ++i) {
        const auto& token = tokens[i];
        const bool isJoined = i == 0 || token.kind == Kind::at || tokens[i - 1].kind == Kind::at ||
                              startsWithDot(token) || endsWithDot(tokens[i - 1]);
        if (token.isAfterBlank && !isJoined) raw += ' ';
        if (token.kind == Kind::quoted) {
            raw.append(1, '"').append(token.text).append(1, '"');
        } else if (token.kind == Kind::literal) {
            raw += '[';
            std::ranges::copy_if(token.text, std::back_inserter(raw), [](char c) { return !ascii::isGap(c); });
            raw += ']';
        } else {
            raw += token.text;
        }
    }
    return cleanEmail(raw);
}

bool hasAt(Tokens tokens) { return std::ranges::find(tokens, Kind::at, &Token::kind) != tokens.end(); }

// The length of the run of tokens at the front that can be one addr-spec: joined by "@" and dots. A blank behind a dot
// joins only in a domain and at the beginning, so that the "J." of "Kim J. kim@x.org" stays out of the address.
std::size_t addressRun(Tokens tokens, bool isAtBeginning) {
    bool joinsAfterDot = isAtBeginning;
    std::size_t length = 1;
    for (; length < tokens.size(); ++length) {
        const auto& before = tokens[length - 1];
        const auto& token = tokens[length];
        if (before.kind == Kind::at) joinsAfterDot = true;
        if (token.kind == Kind::colon || before.kind == Kind::colon) break;
        if (token.kind == Kind::at || before.kind == Kind::at || startsWithDot(token)) continue;
        const bool isLoneDot = before.text == ".";
        if (!endsWithDot(before) || (token.isAfterBlank && !isLoneDot && !joinsAfterDot)) break;
    }
    return length;
}

class ListReader {
public:
    explicit ListReader(std::string_view value)
        : lexer_(value), start_(value.data()), lastSemicolon_(value.rfind(';')) {}

    std::vector<MailAddress> read() {
        for (;;) {
            const auto token = lexer_.next();
            switch (token.kind) {
                case Kind::comment:
                    if (comment_.empty()) comment_ = token.text;
                    break;
                case Kind::open:
                    openAngle();
                    break;
                case Kind::close:
                    if (isInAngle_) endAngle();
                    break;
                case Kind::comma:
                    comma(token);
                    break;
                case Kind::semicolon:
                    endPiece();
                    looseNames_ = 0;
                    break;
                case Kind::colon:
                    colon(token);
                    break;
                case Kind::end:
                    endPiece();
                    return std::move(results_);
                default:
                    (isInAngle_ ? angle_ : phrase_).push_back(token);
            }
        }
    }

private:
    // angle-addr := [CFWS] "<" addr-spec ">" [CFWS] / obs-angle-addr    (RFC 5322 §3.4)
    void openAngle() {
        if (isInAngle_) {
            if (hasAt(angle_))
                endAngle();   // "<kim@x.org <ann@x.org>": the first one lacks its ">"
            else
                phrase_.insert(phrase_.end(), angle_.begin(), angle_.end());
        }
        angle_.clear();
        isInAngle_ = true;
    }

    void endAngle() {
        auto name = spellPhrase(phrase_);
        auto email = spellAddress(angle_);
        phrase_.clear();
        angle_.clear();
        groupColon_.reset();
        isInAngle_ = false;
        joinLooseNames(name);
        add({std::move(name), std::move(email)});
    }

    // "Lee, Kim <kim@x.org>" without quotes is what many clients send for a name with a comma. A name alone reaches
    // nobody, so names right before one that has its address in brackets are read as the beginning of that name.
    void joinLooseNames(std::string& name) {
        if (looseNames_ == 0) return;
        std::string joined;
        const auto first = results_.end() - static_cast<std::ptrdiff_t>(looseNames_);
        for (auto loose = first; loose != results_.end(); ++loose) joined += (joined.empty() ? "" : ", ") + loose->name;
        if (!name.empty()) joined += ", " + name;
        results_.erase(first, results_.end());
        pieceStart_ = std::min(pieceStart_, results_.size());
        looseNames_ = 0;
        name = std::move(joined);
    }

    // obs-route := obs-domain-list ":"    (RFC 5322 §4.4): its commas separate no addresses
    void comma(const Token& token) {
        if (isInAngle_ && !angle_.empty() && angle_.front().kind == Kind::at)
            angle_.push_back(token);
        else
            endPiece();
    }

    // group := display-name ":" [group-list] ";" [CFWS]    (RFC 5322 §3.4). Without a ";" further on the colon may as
    // well be part of a name; endPiece() decides.
    void colon(const Token& token) {
        auto& tokens = isInAngle_ ? angle_ : phrase_;
        if (!tokens.empty() && text::lowerASCII(tokens.back().text) == "mailto") {
            tokens.pop_back();
        } else if (isInAngle_) {
            if (!angle_.empty() && angle_.front().kind == Kind::at)
                angle_.clear();   // the route before the address
            else
                angle_.push_back(token);
        } else if (lastSemicolon_ != std::string_view::npos && token.text.data() < start_ + lastSemicolon_) {
            if (hasAt(phrase_)) endPiece();   // an address that lacks its comma, not the group's name
            phrase_.clear();
            comment_ = {};
            looseNames_ = 0;
        } else {
            if (!groupColon_) groupColon_ = phrase_.size();
            phrase_.push_back(token);
        }
    }

    // At a separator: what stands outside of brackets.
    void endPiece() {
        const bool lacksClose = isInAngle_ && !angle_.empty();
        if (lacksClose) phrase_.insert(phrase_.end(), angle_.begin(), angle_.end());
        isInAngle_ = false;
        auto rest = Tokens(phrase_);
        const bool isGroup = groupColon_ && (*groupColon_ + 1 == rest.size() || (!lacksClose && hasAt(rest)));
        if (isGroup) {
            rest = rest.subspan(*groupColon_ + 1);
            looseNames_ = 0;
        }
        bareAddresses(rest, lacksClose);
        useComment();
        phrase_.clear();
        angle_.clear();
        groupColon_.reset();
        comment_ = {};
        pieceStart_ = results_.size();
    }

    // Before display names were common, the name was a comment: "kim@x.org (Kim Lee)"; some had it the other way round.
    void useComment() {
        if (results_.size() == pieceStart_) return;
        auto& last = results_.back();
        if (last.name.empty()) {
            last.name = cleanName(unescape(comment_));
        } else if (last.email.empty()) {
            auto address = cleanEmail(unescape(comment_));
            if (!looksLikeAddress(address)) return;
            last.email = std::move(address);
            looseNames_ = 0;
        }
    }

    // Addresses without brackets, with names before or behind them.
    void bareAddresses(Tokens tokens, bool lacksClose) {
        std::size_t nameStart = 0;
        for (std::size_t at = 0; at < tokens.size();) {
            const auto length = addressRun(tokens.subspan(at), at == 0);
            const auto run = tokens.subspan(at, length);
            if (run.front().kind != Kind::at && run.back().kind != Kind::at && hasAt(run)) {
                auto name = spellPhrase(tokens.subspan(nameStart, at - nameStart));
                if (lacksClose) joinLooseNames(name);
                add({std::move(name), spellAddress(run)});
                nameStart = at + length;
            }
            at += length;
        }
        nameWithoutAddress(tokens.subspan(nameStart));
    }

    void nameWithoutAddress(Tokens tokens) {
        auto name = spellPhrase(tokens);
        if (name.empty()) return;
        if (results_.size() > pieceStart_) {   // behind an address: "kim@x.org Kim Lee"
            auto& before = results_.back().name;
            before += (before.empty() ? "" : " ") + name;
            return;
        }
        const bool isQuoted = std::ranges::find(tokens, Kind::quoted, &Token::kind) != tokens.end();
        auto address = addressFromName(std::move(name));
        const bool isLoose = !isQuoted && address.email.empty();
        const auto looseBefore = looseNames_;
        add(std::move(address));
        looseNames_ = isLoose ? looseBefore + 1 : 0;
    }

    void add(MailAddress address) {
        if (address == MailAddress{}) return;
        results_.push_back(std::move(address));
        looseNames_ = 0;
    }

    Lexer lexer_;
    const char* start_;
    std::size_t lastSemicolon_;
    std::vector<MailAddress> results_;
    std::size_t pieceStart_ = 0;   // how many results the current piece, from separator to separator, found
    std::size_t looseNames_ = 0;   // how many results at the end are names that the next brackets may complete
    std::vector<Token> phrase_;    // outside of brackets, since the last address
    std::vector<Token> angle_;     // inside
    std::optional<std::size_t> groupColon_;
    std::string_view comment_;
    bool isInAngle_ = false;
};

}   // namespace

std::vector<MailAddress> MailAddress::list(std::string_view value) { return ListReader(value).read(); }

}   // namespace ostrel
