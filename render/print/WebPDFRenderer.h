#pragma once

#include "core/export/PDFRendering.h"
#include "core/export/Paper.h"
#include "render/engine/PrintLimits.h"
#include "render/print/PrintReport.h"

#include <memory>
#include <stop_token>

namespace ostrel {

// Prints message pages with the web engine: off screen, offline, page scripts off, on the given paper with margins of
// 40 points above and below and 44 at the sides. Content wider than the page is scaled to its width. One web view
// serves all pages, so keep one renderer for a whole export.
//
// Called on a worker while the main thread turns its loop (an application, or mainLoop::runBeside). May be made and
// destroyed on any thread.
class WebPDFRenderer final : public PDFRendering {
public:
    // cancel is asked at the beginning of every call; a page that is under way is finished.
    explicit WebPDFRenderer(Paper paper, std::stop_token cancel = {}, PrintLimits limits = {});
    ~WebPDFRenderer() override;

    void renderPDF(const Page& page, const std::filesystem::path& destination, const DocumentInfo& info) override;

    // What became of the page that was printed last; incomplete if it failed.
    const PrintReport& lastReport() const;

private:
    struct State;
    std::unique_ptr<State> state_;
};

}   // namespace ostrel
