#pragma once

#include "core/export/PDFRendering.h"
#include "core/export/Paper.h"
#include "pdf/pages/Links.h"
#include "pdf/tags/PageListing.h"
#include "render/engine/PrintLimits.h"
#include "render/loop/MainLoop.h"
#include "render/print/PrintReport.h"
#include "render/view/EngineView.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_set>
#include <variant>
#include <vector>

#include <webkit/webkit.h>

namespace ostrel {

// A page that stands in its file, still as big as it had to be to hold the page's whole width.
struct PrintedPage {
    double scale = 1;                     // final size over printed size
    std::vector<pdf::LinkMark> links{};   // marked on the pages
    pdf::PageListing listing{};           // empty: not known
    // Of what stands for pictures, as PageMeasures has them. Where pictures are changed there is no file.
    std::vector<std::uint32_t> changedPictures{}, seenPictures{};
    PrintTimes took{};
};
using PrintOutcome = std::variant<PrintedPage, RenderError>;

// Loads pages into one view and prints them to files, one at a time. After a failure, a crash of the engine's process
// included, the next page starts afresh. Lives on the main thread, in a shared_ptr.
class PagePrinter : public std::enable_shared_from_this<PagePrinter> {
public:
    using Done = std::function<void(PrintOutcome)>;
    PagePrinter(PaperSize paper, PrintLimits limits);
    PagePrinter(const PagePrinter&) = delete;
    PagePrinter& operator=(const PagePrinter&) = delete;
    ~PagePrinter();

    // Prints the page to the file, which does not exist yet. done is called once, on the main thread, perhaps within
    // the call; it gets the first of all the things that the engine reports. html must live until then.
    // placeholders: the colours of what stands for pictures in it. atMost: the time for all of it, beside the limits.
    using Colours = std::unordered_set<std::uint32_t>;
    void print(const std::string& html, Colours placeholders, std::filesystem::path output,
               std::chrono::nanoseconds atMost, Done done);
    // Prints the page that was printed last once more to the same file, in a way that holds more of its width. Only
    // after a success; the same holds for done.
    void printWider(std::chrono::nanoseconds atMost, Done done);
    // Has the next page start in a fresh process of the engine.
    void renew();

private:
    enum class Phase { idle, preparing, loading, measuring, printing };

    void makeView(WebKitUserContentFilter* offlineRules);
    void load();
    void evaluate(std::string_view script, std::function<void(PagePrinter&, GAsyncResult*)> take);
    void measure(std::string_view script);
    void giveBack(std::vector<std::uint32_t> changedPictures);
    void measured(double contentWidth);
    void squeeze();
    void startPrinting();
    void printNow();
    void printFinished();
    void enter(Phase next);
    void complete(PrintOutcome outcome);
    void fail(RenderError::Kind kind, const std::string& reason);
    void limitTime(std::chrono::milliseconds base);
    void tooSlow(std::chrono::milliseconds limit);

    static void loadChanged(WebKitWebView*, WebKitLoadEvent event, gpointer self) noexcept;
    static gboolean loadFailed(WebKitWebView*, WebKitLoadEvent, const char* url, GError* error, gpointer self) noexcept;
    static void processEnded(WebKitWebView*, WebKitWebProcessTerminationReason reason, gpointer self) noexcept;
    static void operationFinished(WebKitPrintOperation*, gpointer self) noexcept;
    static void operationFailed(WebKitPrintOperation*, GError* error, gpointer self) noexcept;

    const PaperSize paper_;
    const PrintLimits limits_;
    std::unique_ptr<EngineView> view_;   // made for the first page
    SignalHandler onLoadChanged_, onLoadFailed_, onProcessEnded_;

    // The page under way.
    Phase phase_ = Phase::idle;
    unsigned long page_ = 0;              // counts pages, so that answers about an earlier one are told apart
    const std::string* html_ = nullptr;   // until it is loaded
    std::size_t pageBytes_ = 0;
    std::chrono::steady_clock::time_point end_;     // of the time that it has
    std::chrono::steady_clock::time_point since_;   // when the phase began
    PrintTimes took_;
    std::filesystem::path output_;
    Done done_;
    bool isCommitted_ = false;   // the page is in the engine's process
    bool isSqueezed_ = false;
    std::vector<pdf::LinkMark> links_;   // as marked in the page
    pdf::PageListing listing_;
    Colours placeholders_;
    std::vector<std::uint32_t> seenPictures_;   // of these
    double enlargement_ = 1;                    // paper and margins against the real ones
    std::optional<std::string> failure_;        // the print job's own words
    GRef<WebKitPrintOperation> operation_;
    SignalHandler onFinished_, onFailed_;
    mainLoop::Timer limit_;
};

}   // namespace ostrel
