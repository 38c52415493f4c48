#include "core/message/Comments.h"

namespace ostrel {

namespace {

bool isEscaped(std::string_view value, std::size_t position) {
    auto start = position;
    while (start > 0 && value[start - 1] == '\\') --start;
    return (position - start) % 2 == 1;
}

}   // namespace

Comments::Comments(std::string_view value) {
    const auto firstOpen = value.find('(');
    if (firstOpen == value.npos) return;
    const auto lastClose = value.rfind(')');
    if (lastClose == value.npos || lastClose < firstOpen) return;

    // From the right: an opening parenthesis closes exactly when a closing one behind it is still unused.
    opens_.resize(lastClose);
    std::size_t unusedClosers = 0;
    for (auto at = lastClose + 1; at-- > firstOpen;) {
        if ((value[at] != '(' && value[at] != ')') || isEscaped(value, at)) continue;
        if (value[at] == ')') {
            ++unusedClosers;
        } else if (unusedClosers > 0) {
            --unusedClosers;
            opens_[at] = true;
        }
    }
}

// comment := "(" *([FWS] ccontent) [FWS] ")"    (RFC 5322 §3.2.2)
std::optional<std::string_view> Comments::take(Cursor& in) const {
    if (!startsAt(in.position())) return std::nullopt;
    const auto start = in.position();
    for (std::size_t depth = 0; !in.atEnd(); in.skip()) {
        const char c = in.peek();
        if (c == '\\') {
            in.skip();
        } else if (c == '(') {
            ++depth;
        } else if (c == ')' && --depth == 0) {
            in.skip();
            return in.text().substr(start + 1, in.position() - start - 2);
        }
    }
    in.rewind(start);
    return std::nullopt;
}

}   // namespace ostrel
