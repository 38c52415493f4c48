#include "render/print/WebPDFRenderer.h"

#include "app/ForeignPictures.h"
#include "core/page/SimplerPage.h"
#include "pdf/Finisher.h"
#include "platform/Files.h"
#include "platform/Memory.h"
#include "platform/TemporaryFolder.h"
#include "platform/Translation.h"
#include "render/engine/OverrideEffects.h"
#include "render/loop/Log.h"
#include "render/loop/MainLoop.h"
#include "render/print/PageGeometry.h"
#include "render/print/PagePrinter.h"
#include "render/print/Placeholders.h"
#include "render/print/PrinterPool.h"

#include <array>
#include <cassert>
#include <chrono>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <variant>
#include <vector>

namespace ostrel {

namespace {

using i18n::tr;

// Tries to catch a page's whole width; then what there is must do.
constexpr int maxAttempts = 5;

// At its limit the engine stops shrinking and leaves out what is wider still. The measured width has let the page
// through, so something is where only the print's own layout finds it.
bool mayLackItsRightEdge(const pdf::Printed& printed) {
    const auto scale = printed.scale();
    return scale && *scale * pageGeometry::maxPixelsPerPoint < 1.0006;
}

// A mail that the engine cannot print as it is loses its looks one after the other, never its words.
struct LadderStep {
    MessageHTML::Simplicity simplicity;
    std::string (*note)();
};
constexpr std::array ladder{
    LadderStep{MessageHTML::Simplicity::withoutEffects,
               [] { return i18n::tr("This message could not be printed with all its effects; some were left out."); }},
    LadderStep{MessageHTML::Simplicity::textOnly,
               [] { return i18n::tr("This message could not be printed as it looks; only its text is shown."); }},
};

// What could not be made smaller or finer is kept as the engine wrote it; somebody may want to know.
void logLeftOut(const pdf::FinishReport& report) {
    for (const pdf::PassReport& pass : report.passes) {
        const std::string name = "finishing, " + std::string(pass.name) + ": ";
        if (!pass.failure.empty()) engineLog::note(name + "left out: " + pass.failure);
        for (const std::string& reason : pass.kept) engineLog::note(name + reason);
    }
}

// Adds the time from its making to its end.
class Stopwatch {
public:
    explicit Stopwatch(std::chrono::nanoseconds& total) : total_(total) {}
    Stopwatch(const Stopwatch&) = delete;
    Stopwatch& operator=(const Stopwatch&) = delete;
    ~Stopwatch() { total_ += std::chrono::steady_clock::now() - begin_; }

private:
    std::chrono::nanoseconds& total_;
    const std::chrono::steady_clock::time_point begin_ = std::chrono::steady_clock::now();
};

PagePrinter::Colours coloursOf(const std::vector<pdf::PlacedPicture>& pictures) {
    PagePrinter::Colours colours;
    for (const auto& picture : pictures) colours.insert(picture.colour);
    return colours;
}

// A picture without words of its own is named by its file.
void nameListed(pdf::PageListing& listing, std::span<const pdf::PlacedPicture> pictures) {
    std::unordered_map<std::uint32_t, std::string_view> names;
    for (const auto& picture : pictures) names.emplace(picture.colour, picture.name);
    for (auto& node : listing) {
        if (node.isNamed) continue;
        const auto name = node.colour ? names.find(*node.colour) : names.end();
        node.text = name == names.end() || name->second.empty() ? tr("Picture") : std::string(name->second);
        node.isNamed = true;
    }
}

void markSeen(std::vector<pdf::PlacedPicture>& pictures, const std::vector<std::uint32_t>& colours) {
    const std::unordered_set<std::uint32_t> seen(colours.begin(), colours.end());
    for (auto& picture : pictures) picture.isSeen = seen.contains(picture.colour);
}

}   // namespace

struct WebPDFRenderer::State {
    State(PaperSize paper_, std::stop_token cancel_, PrintLimits limits)
        : paper(paper_), cancel(std::move(cancel_)), printers(paper_, limits) {}

    // A page that the engine has printed.
    struct Print {
        PrintedPage page;
        std::optional<pdf::Printed> pdf;   // nullopt: pictures are missing in the page
    };
    Print print(const std::string& html, PagePrinter::Colours placeholders, PrintReport& report);
    pdf::Printed open(const std::filesystem::path& file, PrintReport& report);
    pdf::Finisher::Finished finish(Print print, pdf::FinishOptions options, PrintReport& report);
    void printAndFinish(const Page& page, const DocumentInfo& info, const std::filesystem::path& destination,
                        PrintReport& report);
    std::optional<pictures::Decoded> decode(ByteView picture) const;   // what PDFs do not hold as it is
    std::filesystem::path freshFile();
    void close(PrintReport report);

    const PaperSize paper;
    const std::stop_token cancel;
    std::optional<Capacity> capacity;   // if it is not the machine's
    PrinterPool printers;
    const std::shared_ptr<pictures::Decoder> decoder = std::make_shared<pictures::Decoder>();
    const ForeignPictures foreignPictures{decoder};
    pdf::Finisher finisher;
    std::once_flag hasLooked;   // at the effects of what we replace

    std::mutex mutex;                        // of what follows
    std::optional<TemporaryFolder> folder;   // what the engine prints, before it is finished
    unsigned long begunPages = 0, finishedPages = 0;
    PrintReport lastReport;
};

// Prints a page on one printer, again and wider until nothing of it is missing. Throws RenderError when the engine
// crashes, takes too long or refuses; FileError, pdf::Error when it left nothing that can be read.
WebPDFRenderer::State::Print WebPDFRenderer::State::print(const std::string& html, PagePrinter::Colours placeholders,
                                                          PrintReport& report) {
    PrinterPool::Use printer(printers);
    const auto file = freshFile();
    Print print{printer.print(html, std::move(placeholders), file), std::nullopt};
    int attempts = 1;
    if (print.page.changedPictures.empty()) {
        print.pdf = open(file, report);
        for (; mayLackItsRightEdge(*print.pdf) && attempts < maxAttempts; ++attempts)
            print = {printer.printWider(), open(file, report)};
    }
    report.attempts += attempts;
    report.engine += print.page.took;
    std::error_code ignored;
    std::filesystem::remove(file, ignored);
    return print;
}

// Parses what the engine printed. Throws FileError, pdf::Error.
pdf::Printed WebPDFRenderer::State::open(const std::filesystem::path& file, PrintReport& report) {
    auto bytes = files::readWhole(file);
    report.printedBytes = bytes.size();
    std::call_once(hasLooked, [&] { overrideEffects::look(bytes.view()); });
    const Stopwatch time(report.open);
    return pdf::Printed::open(std::move(bytes));
}

// Throws pdf::Error.
pdf::Finisher::Finished WebPDFRenderer::State::finish(Print print, pdf::FinishOptions options, PrintReport& report) {
    const Stopwatch time(report.finish);
    options.scale = print.page.scale;
    options.linkMarks = std::move(print.page.links);
    options.listing = std::move(print.page.listing);
    nameListed(options.listing, options.pictures);
    return finisher.finish(std::move(*print.pdf), options);
}

// Pictures that the PDF can hold as they came are kept from the engine, which would decode them only for their pixels
// to be packed again. Where the page does more with one than to draw it, it is printed again with that one in it.
void WebPDFRenderer::State::printAndFinish(const Page& page, const DocumentInfo& info,
                                           const std::filesystem::path& destination, PrintReport& report) {
    constexpr int maxPrints = 4;   // in the last, the engine has them all
    Placeholders placeholders(page, [this](ByteView picture) { return decode(picture); });
    for (int count = 1;; ++count) {
        auto without = count < maxPrints ? placeholders.next() : std::nullopt;
        auto printed =
            without ? print(without->html, coloursOf(without->pictures), report) : print(wholeHTML(page), {}, report);
        if (!printed.pdf) {
            placeholders.leaveToEngine(printed.page.changedPictures);
            continue;
        }
        if (without) markSeen(without->pictures, printed.page.seenPictures);
        pdf::FinishOptions options{.widthPoints = paper.width,
                                   .heightPoints = paper.height,
                                   .title = info.title,
                                   .author = info.author,
                                   .created = info.created,
                                   .language = page.language.empty() ? std::nullopt : std::optional(page.language),
                                   .links = {},
                                   .linkMarks = {},
                                   .listing = {},
                                   .text = page.text,
                                   .pictures = {}};
        if (without) options.pictures = without->pictures;
        auto finished = finish(std::move(printed), std::move(options), report);
        if (!finished.report.notPlaced.empty()) {
            placeholders.leaveToEngine(finished.report.notPlaced);
            continue;
        }
        report.finishedBytes = finished.pdf.size();
        report.finished = std::move(finished.report);
        logLeftOut(report.finished);
        return files::writeAtomically(destination, finished.pdf.pieces());
    }
}

std::optional<pictures::Decoded> WebPDFRenderer::State::decode(ByteView picture) const {
    auto decoded = decoder->decode(picture, pictures::Decoder::Alpha::apart);
    auto* const made = std::get_if<pictures::Decoded>(&decoded);
    return made ? std::optional(std::move(*made)) : std::nullopt;
}

// A name not used before: a job that was given up may still write to its own.
std::filesystem::path WebPDFRenderer::State::freshFile() {
    const std::lock_guard held(mutex);
    if (!folder) folder.emplace("ostrel-print-");
    return folder->path() / (std::to_string(++begunPages) + ".pdf");
}

void WebPDFRenderer::State::close(PrintReport report) {
    const std::lock_guard held(mutex);
    lastReport = std::move(report);
    // Short-lived objects of all sizes leave holes, which would add up to three times what is in use.
    constexpr unsigned long pagesBetweenTrims = 64;
    if (++finishedPages % pagesBetweenTrims == 0) memory::returnUnused();
}

WebPDFRenderer::WebPDFRenderer(Paper paper, std::stop_token cancel, PrintLimits limits, std::optional<Capacity> fixed)
    : state_(std::make_unique<State>(paperSize(paper), std::move(cancel), limits)) {
    state_->capacity = fixed;
}

WebPDFRenderer::~WebPDFRenderer() = default;

std::size_t WebPDFRenderer::prepareFor(std::size_t pages) {
    const Capacity capacity = state_->capacity ? *state_->capacity : Capacity::of(Machine::current(), pages);
    state_->printers.allow(capacity.engines);
    return capacity.calls;
}

void WebPDFRenderer::renderPDF(const Page& asBuilt, const std::filesystem::path& destination,
                               const DocumentInfo& info) {
    assert(!mainLoop::isMainThread());
    State& state = *state_;
    if (state.cancel.stop_requested()) throw RenderCancelled();
    std::optional<Page> simpler;
    for (std::size_t steps = 0;; ++steps) {
        std::optional<RenderError> failure;
        try {
            PrintReport report;
            const Page& wanted = simpler ? *simpler : asBuilt;
            const auto shown = state.foreignPictures.shown(wanted);
            state.printAndFinish(shown ? *shown : wanted, info, destination, report);
            return state.close(std::move(report));
        } catch (const pdf::Error& error) {
            failure.emplace(RenderError::Kind::writeFailed, error.what());
        } catch (const RenderError& error) {
            if (error.kind == RenderError::Kind::writeFailed) throw;
            failure.emplace(error);
        }
        if (steps < ladder.size())
            simpler = MessageHTML::simpler(asBuilt, ladder[steps].simplicity, ladder[steps].note());
        if (steps == ladder.size() || !simpler) throw *failure;
        engineLog::note("“" + info.title + "” is printed in a simpler form: " + failure->what());
    }
}

PrintReport WebPDFRenderer::lastReport() const {
    const std::lock_guard held(state_->mutex);
    return state_->lastReport;
}

}   // namespace ostrel
