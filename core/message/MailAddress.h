#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace ostrel {

struct MailAddress {
    std::string name;    // decoded display name, possibly empty
    std::string email;   // possibly empty when the sender gave only a name
    bool operator==(const MailAddress&) const = default;

    // The addresses of a raw From, To, Cc or Reply-To value (RFC 5322 section 3.4, obsolete forms included), in order;
    // members of groups take their place in the list. Encoded words in names are decoded, also inside quotes. Also
    // reads what real clients send: lists with semicolons, names with unquoted dots and commas ("Lee, Kim <kim@x.org>"
    // is one address), missing brackets and quotes. Never fails, linear: what is no address becomes a name without one,
    // or is dropped when nothing is left of it.
    // Gives the first listLimit addresses, and of what stands between two separators the first pieceLimit words.
    static std::vector<MailAddress> list(std::string_view value);

    // Two characters can become an address and one a word, which take forty times the memory and more. Mail systems
    // deliver to some hundreds of recipients; announcements that name thousands of people are rare.
    static constexpr std::size_t listLimit = 200'000, pieceLimit = 500'000;
};

}   // namespace ostrel
