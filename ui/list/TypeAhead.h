#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>

namespace ostrel {

// Finds the row that begins with what is typed without a pause. Case and accents do not matter.
class TypeAhead {
public:
    using RowText = std::function<std::string(std::size_t row)>;

    // One more character, typed at that moment. The first row that begins with all that was typed, looked for from the
    // current one onwards and around; a new word looks behind the current row first, so that the same letter again
    // leads to the next row.
    std::optional<std::size_t> type(char32_t character, std::uint32_t milliseconds, std::optional<std::size_t> current,
                                    std::size_t rowCount, const RowText& text);
    // True while a blank belongs to the word rather than being a command.
    bool isTyping(std::uint32_t milliseconds) const;

private:
    std::string typed_;
    std::uint32_t last_ = 0;
};

}   // namespace ostrel
