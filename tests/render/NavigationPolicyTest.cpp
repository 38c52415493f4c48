#include "render/engine/NavigationPolicy.h"

#include <optional>
#include <string>

#include <gtest/gtest.h>

namespace ostrel {
namespace {

TEST(NavigationPolicy, KeepsTheViewOnItsPage) {
    struct Row {
        std::string why;
        std::optional<std::string> url;
        bool isLinkClick;
        OpenLinks openLinks;
        NavigationAnswer expected;
    };
    constexpr NavigationAnswer allow{.isAllowed = true}, refuse{}, openOutside{.opensOutside = true};
    const Row rows[] = {
        {"the page loaded from its text", "about:blank", false, OpenLinks::no, allow},
        {"a frame with its page in an attribute", "about:srcdoc", false, OpenLinks::yes, allow},
        {"upper case", "ABOUT:blank", true, OpenLinks::yes, allow},
        {"a request without an address", std::nullopt, false, OpenLinks::no, allow},
        {"no scheme", "//example.com/x:y", true, OpenLinks::yes, allow},
        {"a meta refresh", "https://example.com/", false, OpenLinks::yes, refuse},
        {"a click while printing", "https://example.com/", true, OpenLinks::no, refuse},
        {"a clicked web address", "HTTPS://example.com/", true, OpenLinks::yes, openOutside},
        {"a clicked mail address", "mailto:a@example.com", true, OpenLinks::yes, openOutside},
        {"a clicked file", "file:///etc/passwd", true, OpenLinks::yes, refuse},
        {"a clicked program of the desktop", "ms-word:ofe|u|http://x", true, OpenLinks::yes, refuse},
        {"a clicked script", "javascript:alert(1)", true, OpenLinks::yes, refuse},
        {"a page in the address", "data:text/html,<p>", true, OpenLinks::yes, refuse},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(navigationPolicy(row.url, row.isLinkClick, row.openLinks), row.expected) << row.why;
    }
}

}   // namespace
}   // namespace ostrel
