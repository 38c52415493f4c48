#include "render/engine/NavigationPolicy.h"

#include "platform/Text.h"

#include <string>

namespace ostrel {
namespace {

constexpr std::string_view letters = "abcdefghijklmnopqrstuvwxyz";
constexpr std::string_view schemeCharacters = "abcdefghijklmnopqrstuvwxyz0123456789+-.";

// scheme = ALPHA *( ALPHA / DIGIT / "+" / "-" / "." ), lower-cased (RFC 3986 section 3.1); empty when there is none.
std::string scheme(std::string_view url) {
    const std::size_t colon = url.find(':');
    if (colon == std::string_view::npos) return {};
    std::string name = text::lowerASCII(url.substr(0, colon));
    const bool isScheme = !name.empty() && letters.find(name.front()) != std::string_view::npos &&
                          name.find_first_not_of(schemeCharacters) == std::string::npos;
    return isScheme ? name : std::string();
}

}   // namespace

NavigationAnswer navigationPolicy(std::optional<std::string_view> url, bool isLinkClick, OpenLinks openLinks) {
    const std::string name = scheme(url.value_or(""));
    if (name.empty() || name == "about") return {.isAllowed = true};
    const bool opensOutside = name == "http" || name == "https" || name == "mailto";
    return {.isAllowed = false, .opensOutside = opensOutside && isLinkClick && openLinks == OpenLinks::yes};
}

}   // namespace ostrel
