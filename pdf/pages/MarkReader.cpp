#include "pdf/pages/MarkReader.h"

#include "pdf/content/Tokens.h"

#include <charconv>
#include <cmath>
#include <iterator>

namespace ostrel::pdf {
namespace {

// Follows place, clip and colour through one stream of content (ISO 32000-1 §8.4, §8.5).
class MarkReader {
public:
    MarkReader(QPDFObjectHandle resources, const LinkOfColour& links) : resources_(resources), links_(links) {}

    std::optional<Marked> read(std::string_view content) {
        Tokens tokens(content);
        std::string_view name;
        while (const auto token = tokens.next()) {
            const auto at = static_cast<std::size_t>(token->text.data() - content.data());
            if (token->kind == Token::Kind::name) name = token->text;
            if (token->isNumber()) {
                if (operands_.empty()) operandsAt_ = at;
                if (operands_.size() < 6) operands_.push_back(number(token->text));
            } else if (token->kind == Token::Kind::word) {
                end_ = at + token->text.size();
                begin_ = operands_.empty() ? at : operandsAt_;
                if (!apply(token->text, name)) return std::nullopt;
                operands_.clear();
            }
        }
        if (tokens.isBroken()) return std::nullopt;
        if (!paintsInMarkColours_) std::ranges::copy(colourChanges_, std::back_inserter(found_.cuts));
        std::ranges::sort(found_.cuts);
        return std::move(found_);
    }

private:
    struct State {
        QPDFMatrix matrix;
        Box clip = Box::everything();
        std::optional<std::size_t> fill, stroke;   // the links whose colours these are
        double alpha = 1;                          // of what is filled
    };

    static double number(std::string_view word) {
        if (word.starts_with('+')) word.remove_prefix(1);
        double value = 0;
        std::from_chars(word.data(), word.data() + word.size(), value);
        return value;
    }

    bool apply(std::string_view op, std::string_view name) {
        const auto& n = operands_;
        const auto count = n.size();
        if (op == "q") {
            saved_.push_back(now_);
        } else if (op == "Q") {
            if (saved_.empty()) return false;
            now_ = saved_.back();
            saved_.pop_back();
        } else if (op == "cm" && count == 6) {
            now_.matrix.concat(QPDFMatrix(n[0], n[1], n[2], n[3], n[4], n[5]));
        } else if (op == "rg" || op == "RG") {
            const auto link = count == 3 ? linkOf(n[0], n[1], n[2]) : std::nullopt;
            (op == "rg" ? now_.fill : now_.stroke) = link;
            if (link) colourChanges_.emplace_back(begin_, end_);
        } else if (op == "g" || op == "k" || op == "cs" || op == "sc" || op == "scn") {
            now_.fill.reset();
            if (op == "scn") use(resource("/Pattern", name));
        } else if (op == "G" || op == "K" || op == "CS" || op == "SC" || op == "SCN") {
            now_.stroke.reset();
            if (op == "SCN") use(resource("/Pattern", name));
        } else if (op == "gs") {
            auto state = resource("/ExtGState", name);
            if (auto alpha = state.getKey("/ca"); alpha.isNumber()) now_.alpha = alpha.getNumericValue();
            if (auto mask = state.getKey("/SMask"); mask.isDictionary()) use(mask.getKey("/G"));
        } else if (op == "Do") {
            paints();
            auto form = resource("/XObject", name);
            if (form.isStream() && form.getDict().getKey("/Subtype").isNameAndEquals("/Form")) {
                use(form);
                found_.forms.push_back({form.getObjGen(), now_.matrix, now_.clip});
            }
        } else if (op == "Tj" || op == "TJ" || op == "'" || op == "\"") {
            paints();
        } else if (op == "BI") {
            return false;   // an inline image's bytes can look like anything
        } else {
            path(op);
        }
        return true;
    }

    void path(std::string_view op) {
        const auto& n = operands_;
        if (op == "re" && n.size() == 4) {
            point(n[0], n[1]);
            point(n[0] + n[2], n[1] + n[3]);
            point(n[0] + n[2], n[1]);
            point(n[0], n[1] + n[3]);
        } else if (op == "m" || op == "l" || op == "c" || op == "v" || op == "y") {
            for (std::size_t i = 0; i + 1 < n.size(); i += 2) point(n[i], n[i + 1]);
        } else if (op == "W" || op == "W*") {
            clips_ = true;
        } else if (op == "f" || op == "f*" || op == "F") {
            fill();
        } else if (op == "n") {
            endPath();
        } else if (op == "S" || op == "s" || op == "B" || op == "B*" || op == "b" || op == "b*") {
            paints();
            endPath();
        }
    }

    // Something that stays on the page.
    void paints() {
        if (now_.fill || now_.stroke) paintsInMarkColours_ = true;
    }

    // Patterns that are but shadings, and pictures, hold no content.
    void use(QPDFObjectHandle content) {
        if (content.isStream() && content.isIndirect()) found_.used.push_back(content);
    }

    void point(double x, double y) {
        if (!pathAt_) pathAt_ = begin_;
        now_.matrix.transform(x, y, x, y);
        path_.add(x, y);
    }

    void fill() {
        const bool isMark = now_.fill && now_.alpha > 0 && now_.alpha * 255 < 1.05 && pathAt_ && !clips_;
        if (isMark) {
            found_.pieces.push_back({*now_.fill, path_.within(now_.clip)});
            found_.cuts.emplace_back(*pathAt_, end_);
        } else {
            paints();
        }
        endPath();
    }

    void endPath() {
        if (clips_) now_.clip = now_.clip.within(path_);
        clips_ = false;
        pathAt_.reset();
        path_ = Box::nothing();
    }

    std::optional<std::size_t> linkOf(double red, double green, double blue) const {
        std::uint32_t colour = 0;
        for (const double part : {red, green, blue}) {
            const double level = std::round(part * 255);
            if (!(level >= 0 && level <= 255) || std::abs(part * 255 - level) > 0.05) return std::nullopt;
            colour = colour << 8 | static_cast<std::uint32_t>(level);
        }
        const auto found = links_.find(colour);
        return found == links_.end() ? std::nullopt : std::optional(found->second);
    }

    QPDFObjectHandle resource(const char* kind, std::string_view name) {
        auto all = resources_.isDictionary() ? resources_.getKey(kind) : QPDFObjectHandle::newNull();
        auto one = all.isDictionary() ? all.getKey("/" + std::string(name)) : QPDFObjectHandle::newNull();
        return one.isNull() ? QPDFObjectHandle::newDictionary() : one;
    }

    QPDFObjectHandle resources_;
    const LinkOfColour& links_;
    Marked found_;
    State now_;
    std::vector<State> saved_;
    std::vector<double> operands_;
    std::size_t operandsAt_ = 0, begin_ = 0, end_ = 0;   // of the operator at hand
    std::optional<std::size_t> pathAt_;
    Box path_ = Box::nothing();
    bool clips_ = false;
    std::vector<std::pair<std::size_t, std::size_t>> colourChanges_;   // to those of marks
    bool paintsInMarkColours_ = false;                                 // also something else
};

}   // namespace

std::optional<Marked> readMarks(std::string_view content, QPDFObjectHandle resources, const LinkOfColour& links) {
    return MarkReader(resources, links).read(content);
}

}   // namespace ostrel::pdf
