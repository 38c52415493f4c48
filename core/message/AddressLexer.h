#pragma once

#include "core/message/Comments.h"
#include "core/message/Cursor.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

namespace ostrel {

// One token of an address list (RFC 5322 section 3.4). The text is a view of the value.
struct AddressToken {
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
    Kind kind = Kind::end;
    std::string_view text;
    bool isAfterBlank = false;   // or after a comment, which separates like a blank
};

// Divides a raw From, To, Cc or Reply-To value into tokens, in time linear in its length. Structure is found before
// encoded words are decoded (RFC 2047 section 6.1), so that a comma in a decoded name separates nothing. The value must
// outlive this and the tokens.
class AddressLexer {
public:
    explicit AddressLexer(std::string_view value) : in_(value), comments_(value) {}

    // Returns the next token; one of kind end, again and again, behind the last.
    AddressToken next();

private:
    AddressToken read();
    bool endsWord() const;
    std::string_view word();
    std::optional<std::size_t> encodedWordEnd();
    std::size_t ahead(std::optional<std::size_t>& known, std::string_view text, std::size_t position) const;
    bool isQuoteHere();
    AddressToken quotedString();
    std::optional<std::size_t> closingQuote();
    std::optional<std::string_view> domainLiteral();

    Cursor in_;
    Comments comments_;
    AddressToken::Kind lastKind_ = AddressToken::Kind::end;
    std::optional<std::size_t> terminator_, beginning_, bracket_;   // what ahead() knows
    std::optional<std::size_t> quoteEnd_;                           // of the quoted string at the cursor
    bool isWithoutQuotes_ = false;                                  // no quote closes from here on
};

}   // namespace ostrel
