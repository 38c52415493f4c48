#include "core/mailstore/TextList.h"

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace ostrel {

using Size = std::uint32_t;   // of a text from a header block

TextList::TextList(const std::vector<std::string>& texts) {
    std::size_t whole = 0;
    for (const std::string& text : texts) whole += sizeof(Size) + text.size();
    bytes_.reserve(whole);
    for (const std::string& text : texts) {
        const auto size = static_cast<Size>(text.size());
        bytes_.append(reinterpret_cast<const char*>(&size), sizeof size).append(text);
    }
}

std::vector<std::string_view> TextList::texts() const {
    std::vector<std::string_view> texts;
    for (std::string_view rest = bytes_; !rest.empty();) {
        Size size = 0;
        std::memcpy(&size, rest.data(), sizeof size);
        texts.push_back(rest.substr(sizeof size, size));
        rest.remove_prefix(sizeof size + size);
    }
    return texts;
}

}   // namespace ostrel
