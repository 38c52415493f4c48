#pragma once

#include "core/export/PDFRendering.h"
#include "core/export/Paper.h"
#include "render/engine/PrintLimits.h"
#include "render/print/Capacity.h"
#include "render/print/PrintReport.h"

#include <cstddef>
#include <memory>
#include <optional>
#include <stop_token>
#include <string>

namespace ostrel {

// Prints message pages with the web engine: off screen, offline, page scripts off, on the given paper with margins of
// 40 points above and below and 44 at the sides. Content wider than the page is scaled to its width. The same web views
// serve all pages, so keep one renderer for a whole export.
//
// Called on workers while the main thread turns its loop (an application, or mainLoop::runBeside): on any number of
// them, which wait for each other where the engine's processes are too few. May be made and destroyed on any thread.
class WebPDFRenderer final : public PDFRendering {
public:
    // cancel is asked at the beginning of every call; a page that is under way is finished. fixed: instead of what
    // suits the machine.
    explicit WebPDFRenderer(Paper paper, std::stop_token cancel = {}, PrintLimits limits = {},
                            std::optional<Capacity> fixed = std::nullopt);
    ~WebPDFRenderer() override;

    std::size_t prepareFor(std::size_t pages) override;
    std::string renderPDF(const Page& page, const std::filesystem::path& destination,
                          const DocumentInfo& info) override;
    std::string trouble() const override;

    // What became of the page that was finished last.
    PrintReport lastReport() const;

private:
    struct State;
    std::unique_ptr<State> state_;
};

}   // namespace ostrel
