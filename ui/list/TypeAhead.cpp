#include "ui/list/TypeAhead.h"

#include "platform/Text.h"

namespace ostrel {
namespace {

constexpr std::uint32_t pause = 1000;

// Folding makes few texts longer than this many bytes for each of what they begin with.
constexpr std::size_t longestFold = 8;

bool beginsWith(std::string_view text, const std::string& folded) {
    std::string_view head = text.substr(0, folded.size() * longestFold + longestFold);
    while (!head.empty() && head.size() < text.size() && (static_cast<unsigned char>(text[head.size()]) & 0xC0) == 0x80)
        head.remove_suffix(1);   // not in the middle of a character
    return text::foldForSearch(head).starts_with(folded);
}

}   // namespace

bool TypeAhead::isTyping(std::uint32_t milliseconds) const { return !typed_.empty() && milliseconds - last_ < pause; }

std::optional<std::size_t> TypeAhead::type(char32_t character, std::uint32_t milliseconds,
                                           std::optional<std::size_t> current, std::size_t rowCount,
                                           const RowText& text) {
    if (!isTyping(milliseconds)) typed_.clear();
    last_ = milliseconds;
    text::append(typed_, character);
    const bool isNewWord = text::decodeAt(typed_, 0).length == typed_.size();
    const std::string folded = text::foldForSearch(typed_);
    const std::size_t start = current ? *current + (isNewWord ? 1 : 0) : 0;
    for (std::size_t step = 0; step < rowCount; ++step)
        if (const std::size_t row = (start + step) % rowCount; beginsWith(text(row), folded)) return row;
    return std::nullopt;
}

}   // namespace ostrel
