#include "pdf/fonts/Recoding.h"

#include "pdf/content/ContentReader.h"
#include "pdf/content/Rewriter.h"
#include "pdf/content/StateStack.h"

namespace ostrel::pdf {
namespace {

// Follows the font through one content (ISO 32000-1 §8.4, §9.4).
class Recoder {
public:
    Recoder(std::string_view content, const NewFonts& newFonts) : content_(content), newFonts_(newFonts) {}

    std::optional<std::string> run() {
        ContentReader reader(content_);
        while (const auto operation = reader.next())
            if (!state_.follow(*operation) && !apply(*operation)) return std::nullopt;
        return reader.isBroken() ? std::nullopt : rewriter_.rewritten(content_);
    }

private:
    struct State {
        const NewFont* font = nullptr;   // instead of the one that the content set; null: that one stays
        std::string_view size{};
        std::string_view shownName{}, shownSize{};   // what is set in the new content; empty: the one that stays
    };

    // Returns false if the operation does something with codes that is not foreseen here.
    bool apply(const Operation& operation) {
        switch (operation.op) {
            case "Tf"_op:
                return setFont(operation);
            case "Tj"_op:
            case "TJ"_op:
            case "'"_op:
                return !state_->font || show(operation);
            case "\""_op:
                return !state_->font;
            case "gs"_op:   // may set a font, too
                state_->shownName = {};
                return true;
            case "Tw"_op:   // widens the blank, which has a code of its own
                return false;
            default:
                return true;
        }
    }

    bool setFont(const Operation& operation) {
        const auto& operands = operation.operands;
        if (operands.size() != 2 || operands[0].kind != Token::Kind::name || operands[1].kind != Token::Kind::number)
            return false;
        const auto found = newFonts_.find(operands[0].text);
        if (found == newFonts_.end()) {
            *state_ = {};
            return true;
        }
        state_->font = &found->second;
        state_->size = operands[1].text;
        // Elsewhere the blank behind it keeps apart what stands before and after it.
        const bool isLine = operation.end < content_.size() && content_[operation.end] == '\n' &&
                            (operation.begin == 0 || content_[operation.begin - 1] == '\n');
        rewriter_.cut(operation.begin, operation.end + (isLine ? 1 : 0));
        return true;
    }

    bool show(const Operation& operation) {
        const auto& font = *state_->font;
        const bool isSet = state_->shownName == font.name && state_->shownSize == state_->size;
        if (!isSet && !operation.operands.empty()) {
            rewriter_.insert(operation.begin, "/" + font.name + " " + std::string(state_->size) + " Tf\n");
            state_->shownName = font.name;
            state_->shownSize = state_->size;
        }
        for (const auto& operand : operation.operands) {
            if (operand.kind != Token::Kind::string) continue;
            std::string shown = "(";
            for (const char byte : operand.bytes()) {
                const auto code = font.codes->find(static_cast<unsigned char>(byte));
                if (code == font.codes->end()) return false;
                shown += static_cast<char>(code->second);
            }
            rewriter_.replace(operand.begin, operand.end, shown + ")");
        }
        return true;
    }

    const std::string_view content_;
    const NewFonts& newFonts_;
    Rewriter rewriter_;
    StateStack<State> state_;
};

}   // namespace

std::optional<std::string> recoded(std::string_view content, const NewFonts& newFonts) {
    return Recoder(content, newFonts).run();
}

}   // namespace ostrel::pdf
