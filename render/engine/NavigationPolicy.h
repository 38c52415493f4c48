#pragma once

#include <optional>
#include <string_view>

namespace ostrel {

enum class OpenLinks { no, yes };

struct NavigationAnswer {
    bool isAllowed = false;
    bool opensOutside = false;   // hand the address to the user's default program
    bool operator==(const NavigationAnswer&) const = default;
};

// What a view answers when its page wants to go somewhere. Only the page itself is allowed, which was loaded from a
// text: no address, or one with the scheme "about". Where links open, a clicked web or mail address goes outside; the
// view itself never leaves the page. url is absent or empty when the request names none.
NavigationAnswer navigationPolicy(std::optional<std::string_view> url, bool isLinkClick, OpenLinks openLinks);

}   // namespace ostrel
