#include "pdf/pages/MarkReader.h"

#include "pdf/content/ContentReader.h"
#include "pdf/content/Resources.h"
#include "pdf/content/Rewriter.h"
#include "pdf/content/StateStack.h"

#include <array>
#include <cmath>

namespace ostrel::pdf {
namespace {

// Follows place, clip and colour through one content (ISO 32000-1 §8.4, §8.5).
class MarkReader {
public:
    MarkReader(QPDFObjectHandle resources, const LinkOfColour& links) : resources_(resources), links_(links) {}

    Marked read(std::string_view content) {
        ContentReader reader(content);
        while (const auto operation = reader.next()) apply(*operation);
        if (reader.isBroken()) throw UnreadableContent(std::string(reader.problem()));
        if (!paintsInMarkColours_)
            for (const auto& [begin, end] : colourChanges_) marks_.cut(begin, end);
        if (!marks_.isEmpty()) {
            found_.withoutMarks = marks_.rewritten(content);
            if (!found_.withoutMarks) throw UnreadableContent("marks within each other");
        }
        return std::move(found_);
    }

private:
    struct State {
        QPDFMatrix matrix;
        Box clip = Box::everything();
        std::optional<std::size_t> fill, stroke;   // the links whose colours these are
        double alpha = 1;                          // of what is filled
    };
    struct Place {
        std::size_t begin, end;
    };

    void apply(const Operation& operation) {
        if (path(operation)) return;
        // Nothing else may come between the parts of a path. Viewers draw what does come, so the path must stay.
        if (pathAt_) isInterrupted_ = true;
        if (state_.follow(operation)) return;
        switch (operation.op) {
            case "cm"_op:
                if (const auto n = operation.numbers<6>())
                    state_->matrix.concat(QPDFMatrix((*n)[0], (*n)[1], (*n)[2], (*n)[3], (*n)[4], (*n)[5]));
                break;
            case "rg"_op:
                state_->fill = colour(operation);
                break;
            case "RG"_op:
                state_->stroke = colour(operation);
                break;
            case "scn"_op:
                use(resources_.find("/Pattern", operation.name()));
                [[fallthrough]];
            case "g"_op:
            case "k"_op:
            case "cs"_op:
            case "sc"_op:
                state_->fill.reset();
                break;
            case "SCN"_op:
                use(resources_.find("/Pattern", operation.name()));
                [[fallthrough]];
            case "G"_op:
            case "K"_op:
            case "CS"_op:
            case "SC"_op:
                state_->stroke.reset();
                break;
            case "gs"_op:
                setState(resources_.find("/ExtGState", operation.name()));
                break;
            case "Do"_op:
                draw(resources_.find("/XObject", operation.name()));
                break;
            case "Tj"_op:
            case "TJ"_op:
            case "'"_op:
            case "\""_op:
                paints();
                break;
            default:
                break;
        }
    }

    // Returns false if the operation does not belong to a path.
    bool path(const Operation& operation) {
        switch (operation.op) {
            case "re"_op:
                rectangle(operation);
                return true;
            case "m"_op:
            case "l"_op:
                points<2>(operation);
                return true;
            case "v"_op:
            case "y"_op:
                points<4>(operation);
                return true;
            case "c"_op:
                points<6>(operation);
                return true;
            case "h"_op:
                return true;
            case "W"_op:
            case "W*"_op:
                clips_ = true;
                return true;
            case "f"_op:
            case "f*"_op:
            case "F"_op:
                fill(operation.end);
                return true;
            case "n"_op:
                endPath();
                return true;
            case "S"_op:
            case "s"_op:
            case "B"_op:
            case "B*"_op:
            case "b"_op:
            case "b*"_op:
                paints();
                endPath();
                return true;
            default:
                return false;
        }
    }

    void rectangle(const Operation& operation) {
        const auto n = operation.numbers<4>();
        if (!n) return begin(operation);
        const auto& [x, y, width, height] = *n;
        point(operation, x, y);
        point(operation, x + width, y + height);
        point(operation, x + width, y);
        point(operation, x, y + height);
    }

    template <std::size_t count>
    void points(const Operation& operation) {
        const auto n = operation.numbers<count>();
        if (!n) return begin(operation);
        for (std::size_t i = 0; i < count; i += 2) point(operation, (*n)[i], (*n)[i + 1]);
    }

    // A part of a path without its numbers: viewers differ about what it means.
    void begin(const Operation& operation) {
        if (!pathAt_) pathAt_ = operation.begin;
        isInterrupted_ = true;
    }

    void point(const Operation& operation, double x, double y) {
        if (!pathAt_) pathAt_ = operation.begin;
        state_->matrix.transform(x, y, x, y);
        path_.add(x, y);
    }

    // Something that stays on the page.
    void paints() {
        if (state_->fill || state_->stroke) paintsInMarkColours_ = true;
    }

    // Patterns that are but shadings, and pictures, hold no content.
    void use(QPDFObjectHandle content) {
        if (content.isStream() && content.isIndirect()) found_.used.push_back(content);
    }

    void setState(QPDFObjectHandle parameters) {
        if (!parameters.isDictionary()) {
            state_->alpha = 1;   // unknown, so nothing that is taken for a mark
            return;
        }
        if (auto alpha = parameters.getKey("/ca"); alpha.isNumber()) state_->alpha = alpha.getNumericValue();
        if (auto mask = parameters.getKey("/SMask"); mask.isDictionary()) use(mask.getKey("/G"));
    }

    void draw(QPDFObjectHandle object) {
        paints();
        if (!object.isStream() || !object.getDict().getKey("/Subtype").isNameAndEquals("/Form")) return;
        use(object);
        found_.forms.push_back({object.getObjGen(), state_->matrix, state_->clip});
    }

    void fill(std::size_t end) {
        const bool isFaint = state_->alpha > 0 && state_->alpha * 255 < 1.05;
        if (state_->fill && isFaint && pathAt_ && !clips_ && !isInterrupted_) {
            found_.pieces.push_back({*state_->fill, path_.within(state_->clip)});
            marks_.cut(*pathAt_, end);
        } else {
            paints();
        }
        endPath();
    }

    void endPath() {
        if (clips_) state_->clip = state_->clip.within(path_);
        clips_ = false;
        isInterrupted_ = false;
        pathAt_.reset();
        path_ = Box::nothing();
    }

    // The link that has the colour set here.
    std::optional<std::size_t> colour(const Operation& operation) {
        const auto parts = operation.numbers<3>();
        if (!parts) return std::nullopt;
        std::uint32_t colour = 0;
        for (const double part : *parts) {
            const double level = std::round(part * 255);
            if (!(level >= 0 && level <= 255) || std::abs(part * 255 - level) > 0.05) return std::nullopt;
            colour = colour << 8 | static_cast<std::uint32_t>(level);
        }
        const auto found = links_.find(colour);
        if (found == links_.end()) return std::nullopt;
        colourChanges_.push_back({operation.begin, operation.end});
        return found->second;
    }

    Resources resources_;
    const LinkOfColour& links_;
    Marked found_;
    Rewriter marks_;
    StateStack<State> state_;

    // The path under way.
    std::optional<std::size_t> pathAt_;
    Box path_ = Box::nothing();
    bool clips_ = false;
    bool isInterrupted_ = false;

    std::vector<Place> colourChanges_;   // to colours of marks
    bool paintsInMarkColours_ = false;   // also something else
};

}   // namespace

Marked readMarks(std::string_view content, QPDFObjectHandle resources, const LinkOfColour& links) {
    return MarkReader(resources, links).read(content);
}

}   // namespace ostrel::pdf
