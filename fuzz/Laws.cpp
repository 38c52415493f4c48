#include "fuzz/Target.h"
#include "platform/Text.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

namespace ostrel::fuzz {

void holds(bool law, std::string_view words) {
    if (law) return;
    std::fprintf(stderr, "broken law: %.*s\n", static_cast<int>(words.size()), words.data());
    std::abort();
}

void isValidText(std::string_view text, std::string_view what) {
    holds(text::isValidUTF8(text), std::string(what) + " is valid UTF-8");
}

void everyPrefix(ByteView input, const std::function<void(ByteView)>& read) {
    // All of a short input; of a longer one some, so that the work stays linear.
    const std::size_t step = std::max<std::size_t>(1, input.size() / 16);
    for (std::size_t length = 0; length < input.size(); length += step) read(input.first(length));
    read(input);
}

}   // namespace ostrel::fuzz
