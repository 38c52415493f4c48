#include "pdf/fonts/Recoding.h"

#include "pdf/content/Tokens.h"

#include <utility>
#include <vector>

namespace ostrel::pdf {
namespace {

// Follows the font through one stream of content (ISO 32000-1 §8.4, §9.4).
class Recoder {
public:
    Recoder(std::string_view content, const NewFonts& newFonts) : content_(content), newFonts_(newFonts) {}

    std::optional<std::string> run() {
        Tokens tokens(content_);
        std::vector<Token> operands;
        while (const auto token = tokens.next()) {
            if (token->kind != Token::Kind::word || token->isNumber()) {
                operands.push_back(*token);
                continue;
            }
            if (!apply(*token, operands)) return std::nullopt;
            operands.clear();
        }
        if (tokens.isBroken()) return std::nullopt;
        out_ += content_.substr(done_);
        return std::move(out_);
    }

private:
    struct State {
        const NewFont* font = nullptr;   // instead of the one that the content set; null: that one stays
        std::string_view size{};
        std::string_view shownName{}, shownSize{};   // what is set in the new content; empty: the one that stays
    };

    // False when the operator does something with codes that is not foreseen here.
    bool apply(const Token& op, const std::vector<Token>& operands) {
        if (op.text == "q") {
            saved_.push_back(now_);
        } else if (op.text == "Q") {
            now_ = saved_.empty() ? State{} : saved_.back();
            if (!saved_.empty()) saved_.pop_back();
        } else if (op.text == "Tf") {
            return setFont(op, operands);
        } else if (op.text == "Tj" || op.text == "TJ" || op.text == "'") {
            if (now_.font) show(operands);
        } else if (op.text == "\"") {
            return !now_.font;
        }
        return op.text != "Tw";
    }

    bool setFont(const Token& op, const std::vector<Token>& operands) {
        if (operands.size() != 2 || operands[0].kind != Token::Kind::name || !operands[1].isNumber()) return false;
        const auto found = newFonts_.find(operands[0].text);
        if (found == newFonts_.end()) {
            now_ = {};
            return true;
        }
        now_.font = &found->second;
        now_.size = operands[1].text;
        copyUntil(beginOf(operands[0]));
        done_ = endOf(op);
        if (done_ < content_.size() && content_[done_] == '\n') ++done_;
        return true;
    }

    void show(const std::vector<Token>& operands) {
        const bool isSet = now_.shownName == now_.font->name && now_.shownSize == now_.size;
        if (!isSet && !operands.empty()) {
            copyUntil(beginOf(operands[0]));
            ((((out_ += '/') += now_.font->name) += ' ') += now_.size) += " Tf\n";
            now_.shownName = now_.font->name;
            now_.shownSize = now_.size;
        }
        for (const auto& operand : operands) {
            if (operand.kind != Token::Kind::string) continue;
            copyUntil(beginOf(operand));
            out_ += '(';
            for (const char byte : operand.bytes())
                out_ += static_cast<char>(now_.font->codes->at(static_cast<unsigned char>(byte)));
            out_ += ')';
            done_ = endOf(operand);
        }
    }

    // With the slash of a name and the brackets of a string.
    std::size_t beginOf(const Token& token) const {
        const bool hasMark = token.kind == Token::Kind::name || token.kind == Token::Kind::string;
        return static_cast<std::size_t>(token.text.data() - content_.data()) - (hasMark ? 1 : 0);
    }
    std::size_t endOf(const Token& token) const {
        const bool isString = token.kind == Token::Kind::string;
        return static_cast<std::size_t>(token.text.data() - content_.data()) + token.text.size() + (isString ? 1 : 0);
    }

    void copyUntil(std::size_t end) {
        out_ += content_.substr(done_, end - done_);
        done_ = end;
    }

    const std::string_view content_;
    const NewFonts& newFonts_;
    std::string out_;
    std::size_t done_ = 0;   // of the content
    State now_;
    std::vector<State> saved_;
};

}   // namespace

std::optional<std::string> recoded(std::string_view content, const NewFonts& newFonts) {
    return Recoder(content, newFonts).run();
}

}   // namespace ostrel::pdf
