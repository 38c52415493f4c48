#include "pdf/Finisher.h"

#include "pdf/Sharing.h"
#include "pdf/archival/Conformance.h"
#include "pdf/archival/Metadata.h"
#include "pdf/content/Contents.h"
#include "pdf/content/LateData.h"
#include "pdf/content/Streams.h"
#include "pdf/fonts/DrawnFonts.h"
#include "pdf/fonts/FontReduction.h"
#include "pdf/fonts/FontSubsetter.h"
#include "pdf/fonts/FontTexts.h"
#include "pdf/fonts/GlyphUse.h"
#include "pdf/images/Images.h"
#include "pdf/pages/EmptySheets.h"
#include "pdf/pages/LinkMarks.h"
#include "pdf/pages/Pages.h"
#include "pdf/tags/Tagging.h"
#include "pdf/text/Clusters.h"
#include "pdf/text/Emoji.h"
#include "pdf/text/PageText.h"
#include "pdf/text/Undrawn.h"
#include "platform/Translation.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <map>
#include <mutex>
#include <new>
#include <utility>

#include <qpdf/Pl_Flate.hh>
#include <qpdf/QPDF.hh>

namespace ostrel::pdf {

using i18n::tr;

struct Finisher::Memory {
    FontSubsetter fonts;
};

// The library's compression is set for all files at once.
Finisher::Finisher() : memory_(std::make_unique<Memory>()) {
    static std::once_flag isSet;
    std::call_once(isSet, [] { Pl_Flate::setCompressionLevel(9); });
}
Finisher::~Finisher() = default;

namespace {

// In the order done.
enum class Pass {
    contents,
    placedPictures,
    linkMarks,
    pageLayout,
    emptySheets,
    pageText,
    clusterText,
    glyphUse,
    emojiText,
    undrawnText,
    drawnFonts,
    fontReduction,
    typedText,
    unknownTexts,
    sharedTexts,
    pictures,
    tags,
    conformance,
    packing,
    twins,
    metadata,
    writing
};

struct Order {
    Pass first, then;
    std::string_view why;
};
constexpr std::array orders{
    Order{Pass::contents, Pass::linkMarks, "content is read through Contents from the start"},
    Order{Pass::contents, Pass::placedPictures, "content is read through Contents from the start"},
    Order{Pass::placedPictures, Pass::pictures, "what stands for pictures is none of the engine's"},
    Order{Pass::linkMarks, Pass::pageLayout, "marks are measured as printed, and their links put on the paper"},
    Order{Pass::pageLayout, Pass::emptySheets, "a sheet with a link is not empty"},
    Order{Pass::emptySheets, Pass::glyphUse, "what is not there shows no glyphs"},
    Order{Pass::emptySheets, Pass::tags, "nor is it read"},
    Order{Pass::pageText, Pass::clusterText, "its words are shaped"},
    Order{Pass::clusterText, Pass::fontReduction, "they are shaped with whole fonts"},
    Order{Pass::glyphUse, Pass::emojiText, "emoji are found by the glyphs drawn"},
    Order{Pass::emojiText, Pass::undrawnText, "what tells itself is drawn"},
    Order{Pass::undrawnText, Pass::fontReduction, "characters are looked for in whole fonts"},
    Order{Pass::emojiText, Pass::drawnFonts, "by the fonts that the engine drew them in"},
    Order{Pass::glyphUse, Pass::fontReduction, "only what is shown stays"},
    Order{Pass::drawnFonts, Pass::sharedTexts, "joined fonts have tables, too"},
    Order{Pass::typedText, Pass::sharedTexts, "tables are compared as they will be"},
    Order{Pass::sharedTexts, Pass::packing, "tables are written"},
    Order{Pass::pictures, Pass::twins, "streams are compared as stored"},
    Order{Pass::packing, Pass::twins, "streams are compared as stored"},
    Order{Pass::twins, Pass::writing, "nothing changes afterwards"},
};
static_assert(std::ranges::all_of(orders, [](const Order& order) { return order.first < order.then; }));

// A file on its way through the passes, and what they know of it.
struct Work {
    Work(Printed& printed, const FinishOptions& options_, FontSubsetter& fonts_)
        : file(printed.file()), options(options_), fonts(fonts_), texts(file), links(options.links) {
        result.report.pages = printed.pages();
    }

    QPDF& file;
    const FinishOptions& options;
    FontSubsetter& fonts;
    std::optional<Contents> contents;
    LateData late;
    FontTexts texts;
    PageText pageText;
    GlyphUse use = GlyphUse::unknown("glyph use was not read");
    std::vector<LinkArea> links;
    std::vector<std::vector<std::optional<std::size_t>>> linkElements;   // PlacedLinks
    Finisher::Finished result;

    void keep(std::string reason) {
        if (!reason.empty()) pass->kept.push_back(std::move(reason));
    }
    void count(ByteChange bytes) {
        pass->bytesBefore += bytes.before;
        pass->bytesAfter += bytes.after;
    }
    PassReport* pass = nullptr;   // under way
};

void placePictures(Work& work) {
    auto& report = work.result.report;
    report.notPlaced = placePictures(work.file, *work.contents, work.options.pictures, work.late);
    if (report.notPlaced.empty()) report.picturesPlaced = work.options.pictures.size();
}

void takeMarks(Work& work) {
    auto taken = takeLinkMarks(work.file, *work.contents, work.options.linkMarks);
    std::ranges::move(taken.links, std::back_inserter(work.links));
    if (!taken.whyNone.empty()) work.keep("link marks: " + taken.whyNone);
}

void layOut(Work& work) {
    const auto& options = work.options;
    auto placed = layOutPages(work.file, *work.contents, {options.widthPoints, options.heightPoints, options.scale},
                              work.links, options.files);
    work.result.report.links = placed.count;
    work.linkElements = std::move(placed.elements);
}

void takeOffSheets(Work& work) {
    work.result.report.pages -= takeOffEmptySheets(work.file, *work.contents, work.texts);
}

void readGlyphUse(Work& work) {
    work.use = GlyphUse::of(*work.contents);
    work.keep(work.use.whyIncomplete());
}

void reduceFonts(Work& work) {
    auto counts = reduceFonts(work.file, work.use, work.fonts);
    work.result.report.fontsReduced = counts.reduced;
    work.result.report.fontsKept = counts.kept.size();
    work.count(counts.bytes);
    for (auto& reason : counts.kept) work.keep(std::move(reason));
}

void packPictures(Work& work) {
    const auto counts = packImages(work.file);
    work.count(counts.bytes);
    if (counts.tooLarge > 0) work.keep(std::to_string(counts.tooLarge) + " pictures that are too large");
}

void fillInTexts(Work& work) {
    if (const auto count = work.texts.fillIn(work.use); count > 0)
        work.keep(std::to_string(count) + " glyphs of which the characters are not known");
}

void addTags(Work& work) {
    const auto tagged = tag(work.file, *work.contents, work.texts, work.use, work.options.listing, work.options.text,
                            work.linkElements);
    auto& report = work.result.report;
    report.coverage = tagged.coverage;
    report.isTagged = tagged.kind != Tagged::Kind::none;
    report.isAccessible = tagged.kind == Tagged::Kind::listed && !work.options.title.empty();
    if (tagged.kind == Tagged::Kind::none) work.keep("no tags: " + tagged.why);
    if (tagged.kind == Tagged::Kind::flat) work.keep("lines instead of elements: " + tagged.why);
}

void judge(Work& work) {
    auto fault = whyNotArchival(work.file, work.texts, work.use);
    work.result.report.isArchival = fault.empty();
    if (!fault.empty()) work.keep("not PDF/A: " + fault);
}

void say(Work& work) {
    const auto& options = work.options;
    describe(work.file, {.title = options.title,
                         .author = options.author,
                         .created = options.created,
                         .language = options.language.value_or(""),
                         .isArchival = work.result.report.isArchival,
                         .isAccessible = work.result.report.isAccessible});
}

void pack(Work& work) {
    work.count(work.contents->pack());
    work.count(work.texts.store());
}

enum class Need { essential, optional };   // the file is finished without what is optional

struct Step {
    Pass pass;
    std::string_view name;
    Need need;
    void (*run)(Work&);
};
constexpr std::array steps{
    Step{Pass::contents, "contents", Need::essential, [](Work& work) { work.contents.emplace(work.file); }},
    Step{Pass::placedPictures, "placedPictures", Need::essential, placePictures},
    Step{Pass::linkMarks, "linkMarks", Need::optional, takeMarks},
    Step{Pass::pageLayout, "pageLayout", Need::essential, layOut},
    Step{Pass::emptySheets, "emptySheets", Need::optional, takeOffSheets},
    Step{Pass::pageText, "pageText", Need::optional, [](Work& work) { work.pageText = pageText(work.options.text); }},
    Step{Pass::clusterText, "clusterText", Need::optional,
         [](Work& work) { nameClusters(*work.contents, work.texts, work.pageText); }},
    Step{Pass::glyphUse, "glyphUse", Need::optional, readGlyphUse},
    Step{Pass::emojiText, "emojiText", Need::optional,
         [](Work& work) { work.keep(nameEmoji(work.file, work.texts, work.pageText, work.use)); }},
    Step{
        Pass::undrawnText, "undrawnText", Need::optional,
        [](Work& work) { work.keep(nameUndrawn(work.file, *work.contents, work.texts, work.options.text, work.use)); }},
    Step{Pass::drawnFonts, "drawnFonts", Need::optional,
         [](Work& work) { work.keep(joinDrawnFonts(work.file, *work.contents, work.texts, work.use)); }},
    Step{Pass::fontReduction, "fontReduction", Need::optional, reduceFonts},
    Step{Pass::typedText, "typedText", Need::optional, [](Work& work) { work.texts.makeTyped(); }},
    Step{Pass::unknownTexts, "unknownTexts", Need::optional, fillInTexts},
    Step{Pass::sharedTexts, "sharedTexts", Need::optional, [](Work& work) { work.texts.share(work.use); }},
    Step{Pass::pictures, "pictures", Need::optional, packPictures},
    Step{Pass::tags, "tags", Need::optional, addTags},
    Step{Pass::conformance, "conformance", Need::optional, judge},
    Step{Pass::packing, "packing", Need::essential, pack},
    Step{Pass::twins, "twins", Need::optional, [](Work& work) { work.count(shareTwins(work.file)); }},
    Step{Pass::metadata, "metadata", Need::optional, say},
    Step{Pass::writing, "writing", Need::essential,
         [](Work& work) { work.result.pdf = FinishedFile::of(work.file, work.late); }},
};
static_assert([] {
    for (std::size_t i = 0; i < steps.size(); ++i)
        if (steps[i].pass != static_cast<Pass>(i)) return false;
    return steps.back().pass == Pass::writing;
}());

// By pass, the reason.
using Failures = std::map<Pass, std::string>;

struct PassFailed {
    const Step& step;
    std::string reason;
};

void run(const Step& step, Work& work) {
    try {
        step.run(work);
    } catch (const std::bad_alloc&) {
        throw PassFailed{step, tr("there is not enough memory")};
    } catch (const std::exception& error) {
        throw PassFailed{step, error.what()};
    }
}

// All passes but those that failed before. Throws PassFailed; then the file may be half changed.
Finisher::Finished finished(Printed& printed, const FinishOptions& options, FontSubsetter& fonts,
                            const Failures& failed) {
    Work work(printed, options, fonts);
    auto& reports = work.result.report.passes;
    reports.reserve(steps.size());
    for (const auto& step : steps) {
        work.pass = &reports.emplace_back(PassReport{.name = step.name});
        if (const auto failure = failed.find(step.pass); failure != failed.end()) {
            work.pass->failure = failure->second;
            continue;
        }
        const auto begin = std::chrono::steady_clock::now();
        run(step, work);
        work.pass->time = std::chrono::steady_clock::now() - begin;
        if (!work.result.report.notPlaced.empty()) return std::move(work.result);   // not to be finished
    }
    reports.back().bytesBefore = printed.sizeBytes();
    reports.back().bytesAfter = work.result.pdf.size();
    return std::move(work.result);
}

}   // namespace

// A pass that fails may leave anything behind, so what was printed is opened anew and the others are done again.
Finisher::Finished Finisher::finish(Printed printed, const FinishOptions& options) {
    Failures failed;
    for (;;) {
        try {
            return finished(printed, options, memory_->fonts, failed);
        } catch (const PassFailed& failure) {
            if (failure.step.need == Need::essential) throw Error(failure.reason);
            failed.emplace(failure.step.pass, failure.reason);
        } catch (const std::bad_alloc&) {   // between the passes
            throw Error(tr("there is not enough memory"));
        }
        printed = printed.reopened();
    }
}

}   // namespace ostrel::pdf
