#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string_view>
#include <vector>

namespace ostrel {

// Numbers texts from 0 in order of first appearance; equal texts have one number. Views must stay valid. For some
// hundred thousand texts it takes half the memory of a std::unordered_map, and half the time.
class TextNumbers {
public:
    // At most maxTexts different texts may be numbered.
    explicit TextNumbers(std::size_t maxTexts) : slots_(std::bit_ceil(maxTexts + maxTexts / 2 + 1), none) {
        texts_.reserve(maxTexts);
    }

    struct Number {
        std::uint32_t value;
        bool isNew;
    };
    Number of(std::string_view text) {
        const std::size_t last = slots_.size() - 1;   // a power of two, less one
        for (std::size_t at = std::hash<std::string_view>()(text) & last;; at = (at + 1) & last) {
            std::uint32_t& number = slots_[at];
            const bool isNew = number == none;
            if (isNew) {
                number = static_cast<std::uint32_t>(texts_.size());
                texts_.push_back(text);
            }
            if (isNew || texts_[number] == text) return {number, isNew};
        }
    }

private:
    static constexpr std::uint32_t none = UINT32_MAX;
    std::vector<std::uint32_t>
        slots_;   // the place of a text follows from its hash; the next free one where it is taken
    std::vector<std::string_view> texts_;
};

}   // namespace ostrel
