#include "core/message/AddressLexer.h"

#include "core/message/EncodedWords.h"

namespace ostrel {

namespace {

using Kind = AddressToken::Kind;

std::optional<Kind> delimiter(char c) {
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

}   // namespace

AddressToken AddressLexer::next() {
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

AddressToken AddressLexer::read() {
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

bool AddressLexer::endsWord() const {
    const char c = in_.peek();
    return ascii::isGap(c) || c == '"' || delimiter(c) || comments_.startsAt(in_.position());
}

std::string_view AddressLexer::word() {
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
std::optional<std::size_t> AddressLexer::encodedWordEnd() {
    const auto all = in_.text();
    const auto opening = EncodedWords::openingOf(all.substr(in_.position()));
    if (!opening) return std::nullopt;
    const auto payload = in_.position() + opening->size;
    const auto end = ahead(terminator_, "?=", payload);
    // The payload's last "=" (base64 padding) and the "?" of the terminator look like one more beginning.
    if (end == all.npos) return std::nullopt;
    const auto beginning = ahead(beginning_, "=?", payload);
    if (beginning < end && beginning + 1 != end) return std::nullopt;
    return end + 2;
}

// The next place of the text from position on. Asked with growing positions only: an answer that still lies ahead
// is kept, so that a flood of beginnings without an end is searched once.
std::size_t AddressLexer::ahead(std::optional<std::size_t>& known, std::string_view text, std::size_t position) const {
    if (!known || *known < position) known = in_.text().find(text, position);
    return *known;
}

bool AddressLexer::isQuoteHere() {
    quoteEnd_ = closingQuote();
    return quoteEnd_.has_value();
}

AddressToken AddressLexer::quotedString() {
    const auto start = in_.position() + 1;
    in_.rewind(*quoteEnd_ + 1);
    return {Kind::quoted, in_.text().substr(start, *quoteEnd_ - start)};
}

// The quote that closes the one at the cursor.
std::optional<std::size_t> AddressLexer::closingQuote() {
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
std::optional<std::string_view> AddressLexer::domainLiteral() {
    const auto end = ahead(bracket_, "]", in_.position());
    if (end == std::string_view::npos) return std::nullopt;
    const auto inside = in_.text().substr(in_.position() + 1, end - in_.position() - 1);
    if (inside.find_first_of("@<>,;\"") != inside.npos) return std::nullopt;   // the bracket is that of a later one
    in_.rewind(end + 1);
    return inside;
}

}   // namespace ostrel
