#include "pdf/content/ContentReader.h"

namespace ostrel::pdf {
namespace {

// The engine saves its state a few times for each element within another, of which it lays out 512 at most. Everything
// that is saved costs memory.
constexpr std::size_t maxSaveDepth = 20'000;

}   // namespace

std::string_view Operation::name() const {
    for (auto operand = operands.rbegin(); operand != operands.rend(); ++operand)
        if (operand->kind == Token::Kind::name) return operand->text;
    return {};
}

std::optional<Operation> ContentReader::next() {
    if (isBroken()) return std::nullopt;
    operands_.clear();
    while (const auto token = tokens_.next()) {
        if (token->kind != Token::Kind::word) {
            operands_.push_back(*token);
            continue;
        }
        const auto op = operatorNamed(token->text);
        if (op == "q"_op && ++depth_ > maxSaveDepth) return stopped(Problem::tooDeep);
        if (op == "Q"_op && depth_-- == 0) return stopped(Problem::restoreWithoutSave);
        if (op == "BI"_op) return stopped(Problem::inlinePicture);
        return Operation{op, token->text, operands_, operands_.empty() ? token->begin : operands_.front().begin,
                         token->end};
    }
    return stopped(tokens_.isBroken() ? Problem::openString : Problem::none);
}

std::optional<Operation> ContentReader::stopped(Problem problem) {
    problem_ = problem;
    return std::nullopt;
}

std::string_view ContentReader::problem() const {
    switch (problem_) {
        case Problem::none:
            return {};
        case Problem::openString:
            return "a string that does not end";
        case Problem::inlinePicture:
            return "an inline picture";
        case Problem::restoreWithoutSave:
            return "a state restored that was not saved";
        case Problem::tooDeep:
            return "too many saved states";
    }
    return {};
}

}   // namespace ostrel::pdf
