#include "pdf/tags/PaintedContent.h"

#include "pdf/content/ContentReader.h"
#include "pdf/content/Hex.h"
#include "pdf/content/Resources.h"
#include "pdf/content/StateStack.h"

#include <utility>

#include <qpdf/QPDFMatrix.hh>

namespace ostrel::pdf {
namespace {

constexpr int maxFormDepth = 64;   // as for link marks

// The text that the operands of a mark say in place of what is shown (ISO 32000-1 §14.9.4).
std::optional<std::u16string> actualText(const Operation& operation) {
    const auto& operands = operation.operands;
    for (std::size_t i = 0; i + 1 < operands.size(); ++i) {
        const bool isKey = operands[i].kind == Token::Kind::name && operands[i].text == "ActualText";
        if (!isKey || operands[i + 1].kind != Token::Kind::string) continue;
        const auto bytes = operands[i + 1].bytes();
        std::u16string text;
        for (std::size_t at = 2; at + 1 < bytes.size(); at += 2)   // behind the byte order mark
            text += static_cast<char16_t>(static_cast<unsigned char>(bytes[at]) << 8 |
                                          static_cast<unsigned char>(bytes[at + 1]));
        return text;
    }
    return std::nullopt;
}

}   // namespace

// Follows one content (ISO 32000-1 §8.2: what may stand where).
class PaintedContent::Reader {
public:
    Reader(PaintedContent& all, QPDFObjectHandle resources, int depth)
        : all_(all), resources_(resources), depth_(depth) {}

    // Returns false if the content cannot be followed.
    bool read(std::string_view content) {
        ContentReader reader(content);
        while (const auto operation = reader.next())
            if (!state_.follow(*operation) && !apply(*operation)) return false;
        endDrawing();
        return !reader.isBroken() && !textAt_;
    }
    std::vector<Painted> take() { return std::move(painted_); }

private:
    struct State {
        QPDFMatrix matrix;
        const ToUnicode* font = nullptr;
        std::string_view blank{};   // of the font
    };

    bool apply(const Operation& operation) {
        switch (operation.op) {
            case "m"_op:
            case "re"_op:
                if (!pathAt_) pathAt_ = operation.begin;
                return true;
            case "n"_op:
                pathAt_.reset();
                return true;
            case "f"_op:
            case "F"_op:
            case "f*"_op:
            case "S"_op:
            case "s"_op:
            case "B"_op:
            case "B*"_op:
            case "b"_op:
            case "b*"_op:
            case "sh"_op:
                draws(std::exchange(pathAt_, std::nullopt).value_or(operation.begin), operation.end);
                return true;
            case "Do"_op:
                return draw(operation);
            case "cm"_op:
                if (const auto n = operation.numbers<6>())
                    state_->matrix.concat(QPDFMatrix((*n)[0], (*n)[1], (*n)[2], (*n)[3], (*n)[4], (*n)[5]));
                return true;
            case "Tf"_op:
                setFont(resources_.find("/Font", operation.name()));
                return true;
            case "BT"_op:
                if (textAt_) return false;
                textAt_ = operation.begin;
                text_.clear();
                baseline_.reset();
                return true;
            case "Tm"_op:
                moveTo(operation);
                return true;
            case "ET"_op:
                return endText(operation.begin, operation.end);
            case "Tj"_op:
            case "TJ"_op:
            case "'"_op:
            case "\""_op:
                for (const auto& operand : operation.operands)
                    if (operand.kind == Token::Kind::string) show(operand);
                return textAt_.has_value();
            case "BDC"_op:
            case "BMC"_op:
                return beginMark(operation);
            case "EMC"_op:
                return marks_-- > 0;
            case "DP"_op:
            case "MP"_op:
                return false;
            default:
                return true;
        }
    }

    void setFont(QPDFObjectHandle font) {
        state_->font = all_.texts_.of(font);
        state_->blank = all_.blankOf(font.getObjGen(), state_->font);
    }

    // The engine sets each line by a matrix of its own.
    void moveTo(const Operation& operation) {
        const auto n = operation.numbers<6>();
        if (!n) return;
        double x = 0, y = 0;
        state_->matrix.transform((*n)[4], (*n)[5], x, y);
        if (isShown_ && baseline_ != y)
            baseline_.reset();
        else
            baseline_ = y;
        if (!isShown_) left_ = x;
    }

    // Only those that say what glyphs read, within a text object.
    bool beginMark(const Operation& operation) {
        const auto text = actualText(operation);
        if (!textAt_ || !text || ++marks_ > 1) return false;
        text_ += *text;
        return true;
    }

    void show(const Token& string) {
        isShown_ = true;
        if (!state_->font || marks_ > 0) return;
        const auto bytes = string.bytes();
        const auto step = state_->font->codeBytes;
        for (std::size_t at = 0; at + step <= bytes.size(); at += step) {
            int code = 0;
            for (std::size_t i = 0; i < step; ++i) code = code << 8 | static_cast<unsigned char>(bytes[at + i]);
            if (const auto found = state_->font->texts.find(code); found != state_->font->texts.end())
                text_ += found->second;
        }
    }

    bool endText(std::size_t textEnd, std::size_t end) {
        if (!textAt_ || marks_ > 0) return false;
        const auto begin = *std::exchange(textAt_, std::nullopt);
        if (!std::exchange(isShown_, false)) return true;
        endDrawing();
        painted_.push_back(
            {Painted::Kind::text, begin, end, std::move(text_), baseline_, left_, {}, state_->blank, textEnd});
        text_.clear();
        return true;
    }

    bool draw(const Operation& operation) {
        if (textAt_) return false;
        auto object = resources_.find("/XObject", operation.name());
        if (!object.isStream()) return true;
        if (object.getDict().getKey("/Subtype").isNameAndEquals("/Form")) {
            auto text = all_.textOf(object, depth_ + 1);
            if (text)
                add({Painted::Kind::text, operation.begin, operation.end, std::move(*text)});
            else
                draws(operation.begin, operation.end);
        } else {
            Painted picture{Painted::Kind::picture, operation.begin, operation.end};
            const auto box = state_->matrix.transformRectangle({0, 0, 1, 1});
            picture.box = {box.llx, box.lly, box.urx, box.ury};
            add(std::move(picture));
        }
        return !all_.isBroken_;
    }

    void add(Painted painted) {
        endDrawing();
        painted_.push_back(std::move(painted));
    }

    // Drawings with nothing that is read between them are one.
    void draws(std::size_t begin, std::size_t end) {
        if (!drawing_) drawing_ = Painted{Painted::Kind::drawing, begin, end};
        drawing_->end = end;
    }
    void endDrawing() {
        if (drawing_) painted_.push_back(*std::exchange(drawing_, std::nullopt));
    }

    PaintedContent& all_;
    Resources resources_;
    const int depth_;
    StateStack<State> state_;
    std::vector<Painted> painted_;
    std::optional<Painted> drawing_;
    std::optional<std::size_t> pathAt_, textAt_;   // of the path and the text object under way
    std::u16string text_;
    std::optional<double> baseline_;
    double left_ = 0;
    bool isShown_ = false;   // something, in this text object
    int marks_ = 0;          // within each other
};

std::optional<std::vector<Painted>> PaintedContent::of(Content& page) {
    const auto content = contents_.textOf(page);
    Reader reader(*this, page.resources, 0);
    if (!content || !reader.read(*content)) return std::nullopt;
    return reader.take();
}

// Only a glyph that is shown elsewhere is surely in the file.
std::string_view PaintedContent::blankOf(QPDFObjGen font, const ToUnicode* texts) {
    const auto [place, isNew] = blanks_.try_emplace(font);
    const auto shown = use_.codesOf().find(font);
    if (!isNew || !texts || shown == use_.codesOf().end()) return place->second;
    for (const auto& [code, text] : texts->texts) {
        if (text != u" " || !shown->second.test(static_cast<std::size_t>(code))) continue;
        hex::append(place->second = "<", static_cast<unsigned>(code), 2 * static_cast<int>(texts->codeBytes));
        place->second += ">Tj\n";
        break;
    }
    return place->second;
}

std::optional<std::u16string> PaintedContent::textOf(QPDFObjectHandle form, int depth) {
    const auto known = forms_.find(form.getObjGen());
    if (known != forms_.end()) return known->second;
    auto* const content = contents_.find(form);
    const auto bytes = content && depth <= maxFormDepth ? contents_.textOf(*content) : nullptr;
    forms_[form.getObjGen()] = std::nullopt;   // one that draws itself draws nothing more
    Reader reader(*this, content ? content->resources : QPDFObjectHandle::newNull(), depth);
    if (!bytes || !reader.read(*bytes)) {
        isBroken_ = true;
        return std::nullopt;
    }
    std::optional<std::u16string> all;
    for (const auto& part : reader.take()) {
        if (part.kind != Painted::Kind::text) continue;
        if (!all) all.emplace();
        all->append(part.text);
    }
    return forms_[form.getObjGen()] = all;
}

}   // namespace ostrel::pdf
