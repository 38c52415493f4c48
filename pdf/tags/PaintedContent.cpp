#include "pdf/tags/PaintedContent.h"

#include "pdf/content/ContentReader.h"
#include "pdf/content/Resources.h"
#include "pdf/content/StateStack.h"

#include <algorithm>
#include <utility>

#include <qpdf/QPDFMatrix.hh>

namespace ostrel::pdf {
namespace {

constexpr int maxFormDepth = 64;   // as for link marks

// Whether a mark only says what glyphs read (ISO 32000-1 §14.9.4).
bool isActualText(const Operation& operation) {
    return std::ranges::any_of(operation.operands, [](const Token& operand) {
        return operand.kind == Token::Kind::name && operand.text == "ActualText";
    });
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
            case "BT"_op:
                if (textAt_) return false;
                textAt_ = operation.begin;
                baseline_.reset();
                return true;
            case "Tm"_op:
                moveTo(operation);
                return true;
            case "ET"_op:
                return endText(operation.end);
            case "Tj"_op:
            case "TJ"_op:
            case "'"_op:
            case "\""_op:
                isShown_ = true;
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
    }

    // Only within a text object.
    bool beginMark(const Operation& operation) { return textAt_ && isActualText(operation) && ++marks_ == 1; }

    bool endText(std::size_t end) {
        if (!textAt_ || marks_ > 0) return false;
        const auto begin = *std::exchange(textAt_, std::nullopt);
        if (!std::exchange(isShown_, false)) return true;
        endDrawing();
        painted_.push_back({Painted::Kind::text, begin, end, baseline_});
        return true;
    }

    bool draw(const Operation& operation) {
        if (textAt_) return false;
        auto object = resources_.find("/XObject", operation.name());
        if (!object.isStream()) return true;
        const bool isForm = object.getDict().getKey("/Subtype").isNameAndEquals("/Form");
        if (isForm && all_.showsText(object, depth_ + 1)) {
            endDrawing();
            painted_.push_back({Painted::Kind::text, operation.begin, operation.end});
        } else {
            draws(operation.begin, operation.end);
        }
        return !all_.isBroken_;
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
    std::optional<double> baseline_;
    bool isShown_ = false;   // something, in this text object
    int marks_ = 0;          // within each other
};

std::optional<std::vector<Painted>> PaintedContent::of(Content& page) {
    const auto content = contents_.textOf(page);
    Reader reader(*this, page.resources, 0);
    if (!content || !reader.read(*content)) return std::nullopt;
    return reader.take();
}

bool PaintedContent::showsText(QPDFObjectHandle form, int depth) {
    const auto [place, isNew] = forms_.try_emplace(form.getObjGen());   // one that draws itself draws nothing more
    if (!isNew) return place->second;
    auto* const content = contents_.find(form);
    const auto bytes = content && depth <= maxFormDepth ? contents_.textOf(*content) : nullptr;
    Reader reader(*this, content ? content->resources : QPDFObjectHandle::newNull(), depth);
    if (!bytes || !reader.read(*bytes)) {
        isBroken_ = true;
        return false;
    }
    const auto parts = reader.take();
    return place->second =
               std::ranges::any_of(parts, [](const Painted& part) { return part.kind == Painted::Kind::text; });
}

}   // namespace ostrel::pdf
