#include "render/print/WebPDFRenderer.h"

#include "app/ForeignPictures.h"
#include "pdf/Finisher.h"
#include "platform/Files.h"
#include "platform/Memory.h"
#include "platform/TemporaryFolder.h"
#include "render/engine/OverrideEffects.h"
#include "render/loop/Log.h"
#include "render/loop/MainLoop.h"
#include "render/print/PageGeometry.h"
#include "render/print/PagePrinter.h"

#include <cassert>
#include <chrono>
#include <functional>
#include <future>
#include <optional>
#include <string>
#include <utility>
#include <variant>

namespace ostrel {

namespace {

// Tries to catch a page's whole width; then what there is must do.
constexpr int maxAttempts = 5;

// At its limit the engine stops shrinking and leaves out what is wider still. The measured width has let the page
// through, so something is where only the print's own layout finds it.
bool mayLackItsRightEdge(const pdf::Printed& printed) {
    const auto scale = printed.scale();
    return scale && *scale * pageGeometry::mostPixelsPerPoint < 1.0006;
}

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

}   // namespace

struct WebPDFRenderer::State {
    State(PaperSize paper_, std::stop_token cancel_, PrintLimits limits)
        : paper(paper_), cancel(std::move(cancel_)), printer(std::make_shared<PagePrinter>(paper_, limits)) {}

    PrintedPage engine(const std::function<void(PagePrinter&, PagePrinter::Done)>& begin);
    pdf::Printed open(const std::filesystem::path& file);

    const PaperSize paper;
    const std::stop_token cancel;
    std::shared_ptr<PagePrinter> printer;   // main thread only
    ForeignPictures foreignPictures;
    pdf::Finisher finisher;
    std::optional<TemporaryFolder> folder;   // what the engine prints, before it is finished
    unsigned long pages = 0;
    bool hasLooked = false;   // at the effects of what we replace
    PrintReport report;
};

// Has the main thread begin something and waits for what comes of it. Throws RenderError.
PrintedPage WebPDFRenderer::State::engine(const std::function<void(PagePrinter&, PagePrinter::Done)>& begin) {
    std::promise<PrintOutcome> promise;
    mainLoop::post(
        [&] { begin(*printer, [&promise](PrintOutcome outcome) { promise.set_value(std::move(outcome)); }); });
    PrintOutcome outcome = promise.get_future().get();
    if (const auto* error = std::get_if<RenderError>(&outcome)) throw *error;
    auto page = std::get<PrintedPage>(std::move(outcome));
    report.engine = page.took;
    ++report.attempts;
    return page;
}

// Parses what the engine printed. Throws FileError, pdf::Error.
pdf::Printed WebPDFRenderer::State::open(const std::filesystem::path& file) {
    auto bytes = files::readWhole(file);
    report.printedBytes = bytes.size();
    if (!std::exchange(hasLooked, true)) overrideEffects::look(bytes.view());
    const Stopwatch time(report.open);
    return pdf::Printed::open(std::move(bytes));
}

WebPDFRenderer::WebPDFRenderer(Paper paper, std::stop_token cancel, PrintLimits limits)
    : state_(std::make_unique<State>(paperSize(paper), std::move(cancel), limits)) {}

WebPDFRenderer::~WebPDFRenderer() {
    if (!mainLoop::isMainThread()) mainLoop::post([printer = std::move(state_->printer)] {});
}

void WebPDFRenderer::renderPDF(const Page& asBuilt, const std::filesystem::path& destination,
                               const DocumentInfo& info) {
    assert(!mainLoop::isMainThread());
    State& state = *state_;
    if (state.cancel.stop_requested()) throw RenderCancelled();
    try {
        if (!state.folder) state.folder.emplace("ostrel-print-");
        // A fresh name each time: a job that was given up may still write to the old one.
        const auto printed = state.folder->path() / (std::to_string(++state.pages) + ".pdf");
        const auto shown = state.foreignPictures.shown(asBuilt);
        const Page& page = shown ? *shown : asBuilt;
        state.report = {};
        PrintedPage print =
            state.engine([&](PagePrinter& printer, auto done) { printer.print(page.html, printed, std::move(done)); });
        pdf::Printed pdf = state.open(printed);
        while (mayLackItsRightEdge(pdf) && state.report.attempts < maxAttempts) {
            print = state.engine([](PagePrinter& printer, auto done) { printer.printWider(std::move(done)); });
            pdf = state.open(printed);
        }
        const pdf::FinishOptions options{.widthPoints = state.paper.width,
                                         .heightPoints = state.paper.height,
                                         .scale = print.scale,
                                         .title = info.title,
                                         .author = info.author,
                                         .created = info.created,
                                         .language = {},
                                         .links = {},
                                         .linkMarks = std::move(print.links),
                                         .text = page.text,
                                         .pictures = page.pictures};
        auto finished = [&] {
            const Stopwatch time(state.report.finish);
            return state.finisher.finish(std::move(pdf), options);
        }();
        state.report.finishedBytes = finished.pdf.size();
        state.report.finished = std::move(finished.report);
        logLeftOut(state.report.finished);
        files::writeAtomically(destination, bytesOf(finished.pdf));
        std::error_code ignored;
        std::filesystem::remove(printed, ignored);
        // Short-lived objects of all sizes leave holes, which would add up to three times what is in use.
        constexpr unsigned long pagesBetweenTrims = 64;
        if (state.pages % pagesBetweenTrims == 0) memory::returnUnused();
    } catch (const pdf::Error& error) {
        throw RenderError(RenderError::Kind::writeFailed, error.what());
    }
}

const PrintReport& WebPDFRenderer::lastReport() const { return state_->report; }

}   // namespace ostrel
