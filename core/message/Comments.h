#pragma once

#include "core/message/Cursor.h"

#include <optional>
#include <string_view>
#include <vector>

namespace ostrel {

// The comments of a structured field value (RFC 5322 section 3.2.2), nested to any depth. A parenthesis that never
// closes starts no comment. Which ones close is found out once for the whole value, so that a flood of open ones costs
// no more than any other text.
class Comments {
public:
    // The value must outlive this.
    explicit Comments(std::string_view value);

    bool startsAt(std::size_t position) const { return position < opens_.size() && opens_[position]; }
    // The comment at the cursor (over the same value) without its outer parentheses, escapes still in it; the cursor is
    // then behind it.
    std::optional<std::string_view> take(Cursor& in) const;

private:
    std::vector<bool> opens_;   // by position: a parenthesis that closes again
};

}   // namespace ostrel
