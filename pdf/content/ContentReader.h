#pragma once

#include "pdf/content/Tokens.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

namespace ostrel::pdf {

// An operator's letters as one number, so that a switch can tell them: "Tj"_op. 0 if it has more than any operator.
using Operator = std::uint32_t;
constexpr Operator operatorNamed(std::string_view letters) {
    Operator all = 0;
    if (letters.size() > sizeof all) return 0;
    for (const char c : letters) all = all << 8 | static_cast<unsigned char>(c);
    return all;
}
constexpr Operator operator""_op(const char* letters, std::size_t count) {
    return operatorNamed(std::string_view(letters, count));
}

// One step of content: operands and the operator behind them (ISO 32000-1 §7.8.2).
struct Operation {
    Operator op = 0;
    std::string_view letters;          // of the operator
    std::span<const Token> operands;   // arrays and dictionaries with their brackets; until the next operation is read
    std::size_t begin = 0, end = 0;    // in the content, from the first operand to behind the operator

    // The last name among the operands; empty if there is none.
    std::string_view name() const;

    // nullopt unless the operands are so many numbers.
    template <std::size_t count>
    std::optional<std::array<double, count>> numbers() const {
        std::array<double, count> all{};
        if (operands.size() != count) return std::nullopt;
        for (std::size_t i = 0; i < count; ++i) {
            if (operands[i].kind != Token::Kind::number) return std::nullopt;
            all[i] = operands[i].number();
        }
        return all;
    }
};

// Reads the content of a page, form, pattern or glyph operation by operation, in linear time. Everybody who interprets
// content reads it through here, so that all give the same answer to what cannot be followed: the content ends there,
// and what was made of it so far must not be used.
//
// libqpdf's tokenizer makes a string of every token, tells no places within the content, and takes eight times the
// instructions (on a megabyte of printed pages 390 for each byte, this one 50).
class ContentReader {
public:
    // The content must outlive the reader.
    explicit ContentReader(std::string_view content) : tokens_(content) {}

    // nullopt at the end; then ask isBroken().
    std::optional<Operation> next();

    bool isBroken() const { return problem_ != Problem::none; }
    // "a string that does not end"; empty unless isBroken().
    std::string_view problem() const;

private:
    // An inline picture's bytes can look like operators; the engine writes none. What restores a state that was not
    // saved has no meaning that viewers agree on.
    enum class Problem { none, openString, inlinePicture, restoreWithoutSave, tooDeep };
    std::optional<Operation> stopped(Problem problem);

    Tokens tokens_;
    std::vector<Token> operands_;
    std::size_t depth_ = 0;   // of q and Q
    Problem problem_ = Problem::none;
};

}   // namespace ostrel::pdf
