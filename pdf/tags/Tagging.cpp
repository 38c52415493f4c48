#include "pdf/tags/Tagging.h"

#include "pdf/content/Rewriter.h"
#include "pdf/tags/Elements.h"
#include "pdf/tags/PaintedContent.h"

#include <cmath>
#include <cstddef>
#include <optional>
#include <utility>
#include <vector>

namespace ostrel::pdf {
namespace {

// A document of a thousand sheets has some hundred thousand. Every element is an object of the file.
constexpr std::size_t maxElements = 300'000;

using Part = Element::Part;

class Tagger {
public:
    Tagger(QPDF& file, Contents& contents)
        : file_(file), contents_(contents), painted_(contents), elements_{{"Document"}} {}

    // Changes the file only if nothing stands against it.
    std::string run() {
        std::size_t number = 0;
        for (auto page : file_.getAllPages()) {
            if (auto* const content = contents_.find(page.getKey("/Contents")))
                if (auto why = read(*content, number); !why.empty()) return why;
            auto annotations = page.getKey("/Annots");
            const int count = annotations.isArray() ? annotations.getArrayNItems() : 0;
            for (int i = 0; i < count; ++i) {
                if (!annotations.getArrayItem(i).isOperator()) return "an annotation that is no link";
                add("Link", {Part::Kind::annotation, number, static_cast<std::size_t>(i)});
            }
            if (elements_.size() > maxElements) return "too much that is read";
            ++number;
        }
        for (auto& [content, text] : rewritten_) contents_.replace(*content, std::move(text));
        writeElements(file_, elements_);
        return {};
    }

private:
    std::string read(Content& content, std::size_t page) {
        const auto text = contents_.textOf(content);
        const auto painted = painted_.of(content);
        if (!painted) return "content that cannot be followed";
        Rewriter marks;
        std::size_t number = 0;
        for (std::size_t i = 0; i < painted->size(); ++i) {
            const auto& each = (*painted)[i];
            while (i + 1 < painted->size() && isSameLine(each, (*painted)[i + 1])) ++i;
            if (each.kind == Painted::Kind::text) {
                marks.insert(each.begin, "/P<</MCID " + std::to_string(number) + ">>BDC\n");
                add("P", {Part::Kind::content, page, number++});
            } else {
                marks.insert(each.begin, "/Artifact BMC\n");
            }
            marks.insert((*painted)[i].end, " EMC");
        }
        auto marked = marks.rewritten(*text);
        if (!marked) return "content within each other";
        rewritten_.emplace_back(&content, std::move(*marked));
        return {};
    }

    static bool isSameLine(const Painted& a, const Painted& b) {
        constexpr double touching = 0.5;   // in points
        return a.kind == Painted::Kind::text && b.kind == Painted::Kind::text && a.baseline && b.baseline &&
               std::abs(*a.baseline - *b.baseline) < touching;
    }

    void add(const char* type, Part part) {
        elements_.front().parts.push_back({Part::Kind::element, 0, elements_.size()});
        elements_.push_back({type, {part}});
    }

    QPDF& file_;
    Contents& contents_;
    PaintedContent painted_;
    std::vector<Element> elements_;
    std::vector<std::pair<Content*, std::string>> rewritten_;
};

}   // namespace

std::string tag(QPDF& file, Contents& contents) { return Tagger(file, contents).run(); }

}   // namespace ostrel::pdf
