#include "render/print/WebPDFRenderer.h"

#include "app/ForeignPictures.h"
#include "pdf/Finisher.h"
#include "platform/Files.h"
#include "platform/TemporaryFolder.h"
#include "render/engine/OverrideEffects.h"
#include "render/loop/MainLoop.h"
#include "render/print/PagePrinter.h"

#include <cassert>
#include <future>
#include <optional>
#include <string>
#include <utility>
#include <variant>

#include <malloc.h>

namespace ostrel {

struct WebPDFRenderer::State {
    State(PaperSize paper_, std::stop_token cancel_, PrintLimits limits)
        : paper(paper_), cancel(std::move(cancel_)), printer(std::make_shared<PagePrinter>(paper_, limits)) {}

    const PaperSize paper;
    const std::stop_token cancel;
    std::shared_ptr<PagePrinter> printer;   // main thread only
    ForeignPictures foreignPictures;
    pdf::Finisher finisher;
    std::optional<TemporaryFolder> folder;   // what the engine prints, before it is finished
    unsigned long pages = 0;
    bool hasLooked = false;   // at the effects of what we replace
};

WebPDFRenderer::WebPDFRenderer(Paper paper, std::stop_token cancel, PrintLimits limits)
    : state_(std::make_unique<State>(paperSize(paper), std::move(cancel), limits)) {}

WebPDFRenderer::~WebPDFRenderer() {
    if (!mainLoop::isMainThread()) mainLoop::post([printer = std::move(state_->printer)] {});
}

void WebPDFRenderer::renderPDF(const Page& asBuilt, const std::filesystem::path& destination, const DocumentInfo& info) {
    assert(!mainLoop::isMainThread());
    State& state = *state_;
    if (state.cancel.stop_requested()) throw RenderCancelled();
    try {
        if (!state.folder) state.folder.emplace("ostrel-print-");
        // A fresh name each time: a job that was given up may still write to the old one.
        const auto printed = state.folder->path() / (std::to_string(++state.pages) + ".pdf");
        const auto shown = state.foreignPictures.shown(asBuilt);
        const Page& page = shown ? *shown : asBuilt;
        std::promise<PrintOutcome> promise;
        mainLoop::post([&] {
            state.printer->print(page.html, printed,
                                 [&](PrintOutcome outcome) { promise.set_value(std::move(outcome)); });
        });
        PrintOutcome outcome = promise.get_future().get();
        if (const auto* error = std::get_if<RenderError>(&outcome)) throw *error;
        auto& print = std::get<PrintedPage>(outcome);
        if (!std::exchange(state.hasLooked, true)) overrideEffects::look(files::readWhole(printed).view());
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
        const auto finished = state.finisher.finish(std::move(print.pdf), options);
        files::writeAtomically(destination, bytesOf(finished.pdf));
        std::error_code ignored;
        std::filesystem::remove(printed, ignored);
        // Short-lived objects of all sizes leave holes, which would add up to three times what is in use.
        constexpr unsigned long pagesBetweenTrims = 64;
        if (state.pages % pagesBetweenTrims == 0) malloc_trim(0);
    } catch (const FileError& error) {
        throw RenderError(RenderError::Kind::writeFailed, error.what());
    } catch (const pdf::Error& error) {
        throw RenderError(RenderError::Kind::writeFailed, error.what());
    }
}

}   // namespace ostrel
