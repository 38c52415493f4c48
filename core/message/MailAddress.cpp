#include "core/message/MailAddress.h"

#include "core/message/AddressLexer.h"
#include "core/message/Cursor.h"
#include "core/message/EncodedWords.h"
#include "platform/Text.h"

#include <algorithm>
#include <cstddef>
#include <optional>
#include <span>

namespace ostrel {

namespace {

using Kind = AddressToken::Kind;
using Tokens = std::span<const AddressToken>;

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
        if (token.kind == Kind::literal)
            raw.append(1, '[').append(token.text).append(1, ']');
        else
            raw += unescape(token.text);
    }
    return cleanName(raw);
}

bool startsWithDot(const AddressToken& token) { return token.kind == Kind::word && token.text.front() == '.'; }
bool endsWithDot(const AddressToken& token) { return token.kind == Kind::word && token.text.back() == '.'; }

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

bool hasAt(Tokens tokens) { return std::ranges::find(tokens, Kind::at, &AddressToken::kind) != tokens.end(); }

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
            if (results_.size() >= MailAddress::listLimit) return std::move(results_);
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
                    keep(isInAngle_ ? angle_ : phrase_, token);
            }
        }
    }

private:
    static void keep(std::vector<AddressToken>& piece, const AddressToken& token) {
        if (piece.size() < MailAddress::pieceLimit) piece.push_back(token);
    }
    void moveAngleToPhrase() {
        for (const auto& token : angle_) keep(phrase_, token);
    }

    // angle-addr := [CFWS] "<" addr-spec ">" [CFWS] / obs-angle-addr    (RFC 5322 §3.4)
    void openAngle() {
        if (isInAngle_) {
            if (hasAt(angle_))
                endAngle();   // "<kim@x.org <ann@x.org>": the first one lacks its ">"
            else
                moveAngleToPhrase();
        }
        angle_.clear();
        isInAngle_ = true;
    }

    void endAngle() {
        // Who quotes a name has put its comma inside.
        const bool isQuoted = !phrase_.empty() && phrase_.front().kind == Kind::quoted;
        auto name = spellPhrase(phrase_);
        auto email = spellAddress(angle_);
        phrase_.clear();
        angle_.clear();
        groupColon_.reset();
        isInAngle_ = false;
        if (!isQuoted) joinLooseNames(name);
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
    void comma(const AddressToken& token) {
        if (isInAngle_ && !angle_.empty() && angle_.front().kind == Kind::at)
            keep(angle_, token);
        else
            endPiece();
    }

    // group := display-name ":" [group-list] ";" [CFWS]    (RFC 5322 §3.4). Without a ";" further on the colon may as
    // well be part of a name; endPiece() decides.
    void colon(const AddressToken& token) {
        auto& tokens = isInAngle_ ? angle_ : phrase_;
        if (!tokens.empty() && text::lowerASCII(tokens.back().text) == "mailto") {
            tokens.pop_back();
        } else if (isInAngle_) {
            if (!angle_.empty() && angle_.front().kind == Kind::at)
                angle_.clear();   // the route before the address
            else
                keep(angle_, token);
        } else if (lastSemicolon_ != std::string_view::npos && token.text.data() < start_ + lastSemicolon_) {
            if (hasAt(phrase_)) endPiece();   // an address that lacks its comma, not the group's name
            phrase_.clear();
            comment_ = {};
            looseNames_ = 0;
        } else {
            if (!groupColon_) groupColon_ = phrase_.size();
            keep(phrase_, token);
        }
    }

    // At a separator: what stands outside of brackets.
    void endPiece() {
        const bool lacksClose = isInAngle_ && !angle_.empty();
        if (lacksClose) {
            angle_.front().isAfterBlank = true;   // the bracket divides like a blank
            moveAngleToPhrase();
        }
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
        const bool isQuoted = std::ranges::find(tokens, Kind::quoted, &AddressToken::kind) != tokens.end();
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

    AddressLexer lexer_;
    const char* start_;
    std::size_t lastSemicolon_;
    std::vector<MailAddress> results_;
    std::size_t pieceStart_ = 0;         // how many results the current piece, from separator to separator, found
    std::size_t looseNames_ = 0;         // how many results at the end are names that the next brackets may complete
    std::vector<AddressToken> phrase_;   // outside of brackets, since the last address
    std::vector<AddressToken> angle_;    // inside
    std::optional<std::size_t> groupColon_;
    std::string_view comment_;
    bool isInAngle_ = false;
};

}   // namespace

std::vector<MailAddress> MailAddress::list(std::string_view value) {
    auto addresses = ListReader(value).read();
    if (addresses.size() > listLimit) addresses.resize(listLimit);
    return addresses;
}

}   // namespace ostrel
