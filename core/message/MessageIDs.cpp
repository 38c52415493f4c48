#include "core/message/MessageIDs.h"

#include "core/message/Comments.h"
#include "core/message/Cursor.h"
#include "core/message/EncodedWords.h"

#include <algorithm>
#include <optional>
#include <utility>

namespace ostrel::MessageIDs {

namespace {

class Reader {
public:
    explicit Reader(std::string_view value) : in_(value), comments_(value) {}

    std::vector<std::string> read() {
        while (!in_.atEnd() && found_.size() < listLimit) {
            if (comments_.take(in_)) continue;
            if (in_.peek() == '<')
                bracketed();
            else if (in_.peek() == '"')
                quotedPhrase();
            else if (isBetween(in_.peek()))
                in_.skip();
            else
                bare();
        }
        // In "Your message from kim@x.org of Tuesday <id@x>" the address names the person, and would tie together
        // everything ever answered to her: next to a phrase only brackets make an identifier.
        std::vector<std::string> identifiers;
        for (auto& found : found_) {
            if (found.isBracketed || !hasPhrase_) identifiers.push_back(std::move(found.identifier));
        }
        return identifiers;
    }

private:
    struct Found {
        std::string identifier;
        bool isBracketed;
    };

    static bool isBetween(char c) { return ascii::isGap(c) || c == '>' || c == ',' || c == ';'; }

    // msg-id := [CFWS] "<" id-left "@" id-right ">" [CFWS]    (RFC 5322 §3.6.4). White space inside comes from folding.
    void bracketed() {
        in_.skip();
        const auto start = in_.position();
        auto content = in_.takeWhile([](char c) { return c != '<' && c != '>'; });
        if (!in_.take('>')) {   // cut off: the identifier ends at its first blank, the rest is read again
            in_.rewind(start);
            in_.takeWhile(ascii::isGap);
            content = in_.takeWhile([](char c) { return c != '<' && !isBetween(c); });
        }
        std::string identifier;
        std::ranges::copy_if(content, std::back_inserter(identifier), [](char c) { return !ascii::isGap(c); });
        if (!identifier.empty()) found_.push_back({std::move(identifier), true});
    }

    // obs-in-reply-to and obs-references allow phrases between the identifiers (RFC 5322 §4.5.4).
    void quotedPhrase() {
        const auto start = in_.position();
        in_.skip();
        while (!lacksQuote_ && !in_.atEnd() && in_.peek() != '"') in_.skip(in_.peek() == '\\' ? 2 : 1);
        if (in_.take('"')) {
            hasPhrase_ = true;
        } else {   // nothing closes it: only the quote is passed over, and no later one is tried
            lacksQuote_ = true;
            in_.rewind(start + 1);
        }
    }

    void bare() {
        const auto start = in_.position();
        do in_.skip();
        while (!in_.atEnd() && in_.peek() != '<' && in_.peek() != '"' && !isBetween(in_.peek()) &&
               !comments_.startsAt(in_.position()));
        const auto word = in_.since(start);
        const auto at = word.find('@');
        if (at != word.npos && at > 0 && at + 1 < word.size())
            found_.push_back({std::string(word), false});
        else
            hasPhrase_ = true;
    }

    Cursor in_;
    Comments comments_;
    std::vector<Found> found_;
    bool hasPhrase_ = false;
    bool lacksQuote_ = false;
};

}   // namespace

std::vector<std::string> list(std::string_view value) {
    // Some libraries fold long identifiers into encoded words, which no reader undoes by itself.
    const auto decoded = EncodedWords::decode(value);
    return Reader(decoded).read();
}

}   // namespace ostrel::MessageIDs
