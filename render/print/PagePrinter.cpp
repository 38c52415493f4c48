#include "render/print/PagePrinter.h"

#include "platform/Files.h"
#include "platform/Translation.h"
#include "render/engine/OfflineRules.h"
#include "render/engine/PageGeometry.h"
#include "render/loop/Log.h"
#include "render/print/FilePrinter.h"
#include "render/print/PageMeasures.h"
#include "render/print/PageScripts.h"

#include <algorithm>
#include <cassert>
#include <utility>

namespace ostrel {
namespace {

using namespace std::chrono_literals;
using i18n::tr;
using i18n::trCount;

// Wider than any mail that a person laid out; beyond it the text would be too small to find on the sheet, and paper
// sizes reach what PDF readers still open.
constexpr double maxEnlargement = 100;

// What is ours on the page is shrunk with it, but not until nobody can read it.
constexpr double maxShrinkingOfFrame = 3;

// A print job that ends with no file was mostly cut short by the engine's process going down, which is reported apart.
constexpr auto crashNews = 1s;

std::string tookLongerThan(std::chrono::milliseconds time) {
    const auto seconds = static_cast<std::uint64_t>(std::chrono::ceil<std::chrono::seconds>(time).count());
    return seconds >= 120
               ? trCount("Printing this message took longer than %lld minutes and was stopped.", seconds / 60)
               : trCount("Printing this message took longer than %lld seconds and was stopped.", seconds);
}

// An answer of the engine that may come when the page it belongs to, or the printer, is long gone.
struct PendingAnswer {
    std::weak_ptr<PagePrinter> printer;
    std::function<void(PagePrinter&, GAsyncResult*)> take;
};

}   // namespace

PagePrinter::PagePrinter(PaperSize paper, PrintLimits limits) : paper_(paper), limits_(limits) {}

PagePrinter::~PagePrinter() { assert(mainLoop::isMainThread()); }

void PagePrinter::print(const std::string& html, Colours placeholders, std::filesystem::path output,
                        std::chrono::nanoseconds atMost, Done done) {
    assert(mainLoop::isMainThread() && phase_ == Phase::idle);
    ++page_;
    took_ = {};
    enter(Phase::preparing);
    html_ = &html;
    pageBytes_ = html.size();
    end_ = std::chrono::steady_clock::now() + atMost;
    output_ = std::move(output);
    done_ = std::move(done);
    isSqueezed_ = false;
    links_.clear();
    listing_.clear();
    placeholders_ = std::move(placeholders);
    seenPictures_.clear();
    enlargement_ = 1;
    failure_.reset();
    limitTime(limits_.load);
    if (view_) return load();
    withOfflineRules([weak = weak_from_this()](WebKitUserContentFilter* rules) {
        const auto self = weak.lock();
        if (!self || self->phase_ != Phase::preparing) return;
        self->makeView(rules);
        self->load();
    });
}

void PagePrinter::renew() {
    assert(mainLoop::isMainThread() && phase_ == Phase::idle);
    if (view_) webkit_web_view_terminate_web_process(view_->web());
}

void PagePrinter::makeView(WebKitUserContentFilter* rules) {
    view_ = std::make_unique<EngineView>();
    view_->install(rules);
    onLoadChanged_ = SignalHandler(view_->web(), "load-changed", G_CALLBACK(loadChanged), this);
    onLoadFailed_ = SignalHandler(view_->web(), "load-failed", G_CALLBACK(loadFailed), this);
    onProcessEnded_ = SignalHandler(view_->web(), "web-process-terminated", G_CALLBACK(processEnded), this);
    // A view that is never shown is 0 pixels wide and would measure its content so.
    const int width = static_cast<int>(pageGeometry::printableWidth(paper_) * pageGeometry::layoutPixelsPerPoint);
    const int height = width * 3 / 2;
    int least = 0;
    gtk_widget_measure(GTK_WIDGET(view_->web()), GTK_ORIENTATION_HORIZONTAL, -1, &least, nullptr, nullptr, nullptr);
    gtk_widget_allocate(GTK_WIDGET(view_->web()), std::max(width, least), height, -1, nullptr);
}

void PagePrinter::load() {
    enter(Phase::loading);
    isCommitted_ = false;
    view_->setPageMargins(pageGeometry::verticalMargin, pageGeometry::horizontalMargin);   // mostly what it will be
    view_->load(*std::exchange(html_, nullptr));
}

void PagePrinter::loadChanged(WebKitWebView*, WebKitLoadEvent event, gpointer data) noexcept {
    auto& self = *static_cast<PagePrinter*>(data);
    if (self.phase_ != Phase::loading) return;
    // A navigation that the page before wanted and did not get also ends with "finished", but never commits.
    if (event == WEBKIT_LOAD_COMMITTED) self.isCommitted_ = true;
    if (event == WEBKIT_LOAD_FINISHED && self.isCommitted_) self.measure(pageScripts::prepareAndMeasure());
}

gboolean PagePrinter::loadFailed(WebKitWebView*, WebKitLoadEvent, const char*, GError* error, gpointer data) noexcept {
    auto& self = *static_cast<PagePrinter*>(data);
    if (self.phase_ == Phase::loading && !EngineView::isRefusal(error)) {
        self.fail(RenderError::Kind::loadFailed,
                  i18n::filled(tr("The web engine could not load the message: %@."), error->message));
    }
    return TRUE;   // no error page
}

void PagePrinter::processEnded(WebKitWebView*, WebKitWebProcessTerminationReason reason, gpointer data) noexcept {
    auto& self = *static_cast<PagePrinter*>(data);
    const bool hadPage = std::exchange(self.isCommitted_, false);
    if (reason == WEBKIT_WEB_PROCESS_TERMINATED_BY_API) return;   // by ourselves
    if (reason == WEBKIT_WEB_PROCESS_EXCEEDED_MEMORY_LIMIT)
        self.fail(RenderError::Kind::engineCrashed, tr("The web engine ran out of memory on this message."));
    else if (self.phase_ == Phase::loading && !hadPage)   // no mail had its way yet
        self.fail(RenderError::Kind::notStarted, tr("The web engine could not be started."));
    else
        self.fail(RenderError::Kind::engineCrashed, tr("The web engine crashed on this message."));
}

void PagePrinter::evaluate(std::string_view script, std::function<void(PagePrinter&, GAsyncResult*)> take) {
    webkit_web_view_evaluate_javascript(
        view_->web(), script.data(), static_cast<gssize>(script.size()), EngineView::isolatedWorld, nullptr, nullptr,
        [](GObject*, GAsyncResult* result, gpointer data) noexcept {
            const std::unique_ptr<PendingAnswer> answer(static_cast<PendingAnswer*>(data));
            if (const auto printer = answer->printer.lock()) answer->take(*printer, result);
        },
        new PendingAnswer{weak_from_this(), std::move(take)});
}

void PagePrinter::measure(std::string_view script) {
    enter(Phase::measuring);
    evaluate(script, [page = page_](PagePrinter& self, GAsyncResult* result) {
        GError* error = nullptr;
        const auto value =
            GRef<JSCValue>::adopt(webkit_web_view_evaluate_javascript_finish(self.view_->web(), result, &error));
        const GErrorPtr owned(error);
        if (self.page_ != page || self.phase_ != Phase::measuring) return;
        const GChars answer(value && jsc_value_is_string(value.get()) ? jsc_value_to_string(value.get()) : nullptr);
        // Without an answer the engine's own shrinking must do.
        auto measures = parsePageMeasures(answer ? answer.get() : "");
        if (!measures) engineLog::note("the page could not be measured: its links stay dead");
        if (measures && !measures->links.empty()) self.links_ = std::move(measures->links);
        if (measures && !measures->listing.empty()) self.listing_ = std::move(measures->listing);
        if (measures && !self.placeholders_.empty()) {
            // The page may hold drawings that look like ours.
            const auto isForeign = [&](std::uint32_t colour) { return !self.placeholders_.contains(colour); };
            std::erase_if(measures->changedPictures, isForeign);
            std::erase_if(measures->seenPictures, isForeign);
            if (!measures->changedPictures.empty()) return self.giveBack(std::move(measures->changedPictures));
            if (!measures->seenPictures.empty()) self.seenPictures_ = std::move(measures->seenPictures);
        }
        self.measured(measures ? measures->width : 0);
    });
}

void PagePrinter::giveBack(std::vector<std::uint32_t> changedPictures) {
    enter(Phase::measuring);   // adds up what it took
    complete(PrintedPage{.changedPictures = std::move(changedPictures), .took = took_});
}

void PagePrinter::measured(double contentWidth) {
    const double widest = pageGeometry::printableWidth(paper_) * pageGeometry::maxPixelsPerPoint;
    if (contentWidth > widest * maxEnlargement && !isSqueezed_) return squeeze();
    if (contentWidth > widest) enlargement_ = std::min(contentWidth / widest * 1.002, maxEnlargement);
    startPrinting();
}

void PagePrinter::squeeze() {
    isSqueezed_ = true;
    measure(pageScripts::squeezeAndMeasure());
}

// A layout for other margins must stand before the print begins: the engine's own, within the print, puts what just
// fits at the end of a sheet now on this one and now on the next.
void PagePrinter::startPrinting() {
    enter(Phase::measuring);
    if (!view_->setPageMargins(pageGeometry::verticalMargin * enlargement_,
                               pageGeometry::horizontalMargin * enlargement_))
        return printNow();
    evaluate(pageScripts::layOut(enlargement_ / maxShrinkingOfFrame), [page = page_](PagePrinter& self, GAsyncResult*) {
        if (self.page_ == page && self.phase_ == Phase::measuring) self.printNow();
    });
}

void PagePrinter::printNow() {
    enter(Phase::printing);
    limitTime(limits_.print);
    const auto setup = filePrinter::pageSetup(paper_, enlargement_);
    const auto settings = filePrinter::settingsFor(output_, setup.get());
    if (!settings) return fail(RenderError::Kind::writeFailed, tr("This system’s toolkit cannot print to a file."));
    operation_ = GRef<WebKitPrintOperation>::adopt(webkit_print_operation_new(view_->web()));
    webkit_print_operation_set_page_setup(operation_.get(), setup.get());
    webkit_print_operation_set_print_settings(operation_.get(), settings.get());
    onFinished_ = SignalHandler(operation_.get(), "finished", G_CALLBACK(operationFinished), this);
    onFailed_ = SignalHandler(operation_.get(), "failed", G_CALLBACK(operationFailed), this);
    const auto keptForTheCall = operation_;   // both signals may come before print() returns
    webkit_print_operation_print(keptForTheCall.get());
}

void PagePrinter::operationFailed(WebKitPrintOperation*, GError* error, gpointer data) noexcept {
    static_cast<PagePrinter*>(data)->failure_ = error->message;   // "finished" follows
}

void PagePrinter::operationFinished(WebKitPrintOperation*, gpointer data) noexcept {
    static_cast<PagePrinter*>(data)->printFinished();
}

void PagePrinter::printFinished() {
    if (phase_ != Phase::printing) return;
    if (failure_)
        return fail(RenderError::Kind::writeFailed, i18n::filled(tr("The PDF could not be printed: %@."), *failure_));
    const auto size = files::size(output_).value_or(0);
    if (size > limits_.fileBytes)
        return fail(RenderError::Kind::tooLarge, tr("The web engine made a file of this message that is too large."));
    if (size > 0) {
        enter(Phase::printing);   // adds up what it took
        return complete(PrintedPage{.scale = 1 / enlargement_,
                                    .links = links_,
                                    .listing = listing_,
                                    .seenPictures = seenPictures_,
                                    .took = took_});
    }
    limit_ = mainLoop::Timer(crashNews, [this] {
        fail(RenderError::Kind::writeFailed, tr("The PDF could not be printed: the web engine wrote no file."));
    });
}

void PagePrinter::printWider(std::chrono::nanoseconds atMost, Done done) {
    assert(mainLoop::isMainThread() && phase_ == Phase::idle);
    enter(Phase::measuring);
    done_ = std::move(done);
    end_ = std::chrono::steady_clock::now() + atMost;
    if (!isCommitted_) return fail(RenderError::Kind::engineCrashed, tr("The web engine crashed on this message."));
    limitTime(limits_.print);
    std::error_code ignored;
    std::filesystem::remove(output_, ignored);
    if (!isSqueezed_) return squeeze();
    enlargement_ = std::min(enlargement_ * 2, maxEnlargement);
    startPrinting();
}

void PagePrinter::limitTime(std::chrono::milliseconds base) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(end_ - std::chrono::steady_clock::now());
    const auto own = base + limits_.perMegabyte * static_cast<long>(pageBytes_ / 1'000'000);
    const auto limit = std::max(std::min(own, left), 0ms);
    limit_ = mainLoop::Timer(limit, [this, limit] { tooSlow(limit); });
}

void PagePrinter::tooSlow(std::chrono::milliseconds limit) {
    fail(RenderError::Kind::tooSlow, tookLongerThan(limit));
    if (view_) webkit_web_view_terminate_web_process(view_->web());
}

void PagePrinter::fail(RenderError::Kind kind, const std::string& reason) { complete(RenderError(kind, reason)); }

void PagePrinter::enter(Phase next) {
    const auto now = std::chrono::steady_clock::now();
    auto* const took = phase_ == Phase::preparing || phase_ == Phase::loading ? &took_.load
                       : phase_ == Phase::measuring                           ? &took_.measure
                       : phase_ == Phase::printing                            ? &took_.print
                                                                              : nullptr;
    if (took) *took += now - since_;
    since_ = now;
    phase_ = next;
}

// At most once for each attempt at a page: whatever the engine reports afterwards meets the phase idle.
void PagePrinter::complete(PrintOutcome outcome) {
    if (phase_ == Phase::idle) return;
    enter(Phase::idle);
    html_ = nullptr;
    onFinished_ = {};
    onFailed_ = {};
    operation_ = {};
    limit_ = {};
    std::exchange(done_, {})(std::move(outcome));
}

}   // namespace ostrel
