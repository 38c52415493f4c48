#pragma once

#include "core/message/Cursor.h"

#include <optional>
#include <string_view>
#include <vector>

namespace ostrel {

// The comments of a structured field value (RFC 5322 section 3.2.2), nested to any depth. A parenthesis that never
// closes starts no comment. The constructor finds those that close in one pass, so that a flood of open ones costs no
// more than other text.
class Comments {
public:
    // The value must outlive this.
    explicit Comments(std::string_view value);

    bool startsAt(std::size_t position) const { return position < opens_.size() && opens_[position]; }
    // Moves the cursor, which is over the same value, past the comment that it stands at. Returns the comment without
    // its outer parentheses, escapes still in it; nullopt if there is none.
    std::optional<std::string_view> take(Cursor& in) const;

private:
    std::vector<bool> opens_;   // by position: a parenthesis that closes again
};

}   // namespace ostrel
