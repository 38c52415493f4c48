#include "pdf/tags/Tagging.h"

#include "pdf/content/Rewriter.h"
#include "pdf/tags/Elements.h"
#include "pdf/tags/ListedStructure.h"
#include "pdf/tags/Outline.h"
#include "pdf/tags/PaintedContent.h"
#include "pdf/tags/Structure.h"

#include <utility>

namespace ostrel::pdf {
namespace {

// A document of a thousand sheets has some hundred thousand. Every element is an object of the file.
constexpr std::size_t maxElements = 300'000;

class Tagger {
public:
    Tagger(QPDF& file, Contents& contents, FontTexts& texts, const GlyphUse& use)
        : file_(file), contents_(contents), painted_(contents, texts, use) {}

    // Changes the file only if nothing stands against it.
    Tagged run(const PageListing& listing, std::string_view text,
               const std::vector<std::vector<std::optional<std::size_t>>>& links) {
        if (auto why = readPages(links); !why.empty()) return {Tagged::Kind::none, std::move(why)};
        const auto coverage = textCoverage(listing, text, pages_);
        auto [structure, why] = listedStructure(listing, pages_);
        if (!why.empty()) structure = flatStructure(pages_);
        if (structure.elements.size() > maxElements) return {Tagged::Kind::none, "too much that is read", coverage};
        if (!write(structure)) return {Tagged::Kind::none, "content within each other", coverage};
        return {why.empty() ? Tagged::Kind::listed : Tagged::Kind::flat, std::move(why), coverage};
    }

private:
    std::string readPages(const std::vector<std::vector<std::optional<std::size_t>>>& links) {
        for (auto page : file_.getAllPages()) {
            auto* const content = contents_.find(page.getKey("/Contents"));
            auto painted = content ? painted_.of(*content) : std::vector<Painted>();
            if (!painted) return "content that cannot be followed";
            auto annotations = page.getKey("/Annots");
            const int count = annotations.isArray() ? annotations.getArrayNItems() : 0;
            for (int i = 0; i < count; ++i)
                if (!annotations.getArrayItem(i).isOperator()) return "an annotation that is no link";
            const auto number = pages_.size();
            pages_.push_back({std::move(*painted),
                              number < links.size() ? links[number] : std::vector<std::optional<std::size_t>>()});
            pages_.back().links.resize(static_cast<std::size_t>(count));
            contentOf_.push_back(content);
        }
        return {};
    }

    bool write(const Structure& structure) {
        std::vector<std::string> marked(pages_.size());
        for (std::size_t page = 0; page < pages_.size(); ++page) {
            if (!contentOf_[page]) continue;
            Rewriter marks;
            for (const auto& mark : structure.marks[page]) {
                marks.insert(mark.begin,
                             mark.number ? "/P<</MCID " + std::to_string(*mark.number) + ">>BDC\n" : "/Artifact BMC\n");
                marks.insert(mark.end, " EMC");
            }
            if (page < structure.blanks.size())
                for (const auto& blank : structure.blanks[page]) marks.insert(blank.at, blank.operation);
            auto text = marks.rewritten(*contents_.textOf(*contentOf_[page]));
            if (!text) return false;
            marked[page] = std::move(*text);
        }
        for (std::size_t page = 0; page < pages_.size(); ++page)
            if (contentOf_[page]) contents_.replace(*contentOf_[page], std::move(marked[page]));
        writeElements(file_, structure.elements);
        writeOutline(file_, structure.headings);
        return true;
    }

    QPDF& file_;
    Contents& contents_;
    PaintedContent painted_;
    std::vector<PaintedPage> pages_;
    std::vector<Content*> contentOf_;   // by page; null where it has none
};

}   // namespace

Tagged tag(QPDF& file, Contents& contents, FontTexts& texts, const GlyphUse& use, const PageListing& listing,
           std::string_view text, const std::vector<std::vector<std::optional<std::size_t>>>& links) {
    return Tagger(file, contents, texts, use).run(listing, text, links);
}

}   // namespace ostrel::pdf
