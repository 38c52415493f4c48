#include "render/print/PrinterPool.h"

#include "render/loop/MainLoop.h"

#include <future>
#include <utility>
#include <variant>

namespace ostrel {

PrinterPool::~PrinterPool() {
    if (!mainLoop::isMainThread())
        mainLoop::post([engines = std::make_shared<decltype(engines_)>(std::move(engines_))] {});
}

void PrinterPool::allow(std::size_t printers) {
    const std::lock_guard held(mutex_);
    allowed_ = printers;
    isFree_.notify_all();
}

// The one used last first: few pages need few engines.
PrinterPool::Engine& PrinterPool::take() {
    std::unique_lock held(mutex_);
    isFree_.wait(held, [this] { return !idle_.empty() || engines_.size() < allowed_; });
    if (idle_.empty())
        return *engines_.emplace_back(std::make_unique<Engine>(Engine{std::make_shared<PagePrinter>(paper_, limits_)}));
    Engine& engine = *idle_.back();
    idle_.pop_back();
    return engine;
}

bool PrinterPool::mayRenew(Engine& engine) {
    const std::lock_guard held(mutex_);
    const bool renews = engine.pages >= limits_.pagesPerProcess && !isOneRenewing_;
    if (renews) {
        isOneRenewing_ = true;
        engine.pages = 0;
    }
    ++engine.pages;
    return renews;
}

void PrinterPool::giveBack(Engine& engine, bool wasRenewing) {
    const std::lock_guard held(mutex_);
    idle_.push_back(&engine);
    if (wasRenewing) isOneRenewing_ = false;
    isFree_.notify_one();
}

PrinterPool::Use::Use(PrinterPool& pool) : pool_(pool), engine_(pool.take()) {}

PrinterPool::Use::~Use() { pool_.giveBack(engine_, isRenewing_); }

PrintedPage PrinterPool::Use::print(const std::string& html, PagePrinter::Colours placeholders,
                                    const std::filesystem::path& output, std::chrono::nanoseconds atMost) {
    const bool renews = pool_.mayRenew(engine_);
    isRenewing_ = isRenewing_ || renews;
    return wait([&](PagePrinter& printer, PagePrinter::Done done) {
        if (renews) printer.renew();
        printer.print(html, std::move(placeholders), output, atMost, std::move(done));
    });
}

PrintedPage PrinterPool::Use::printWider(std::chrono::nanoseconds atMost) {
    return wait([=](PagePrinter& printer, PagePrinter::Done done) { printer.printWider(atMost, std::move(done)); });
}

// Has the main thread begin something and waits for what comes of it.
PrintedPage PrinterPool::Use::wait(const std::function<void(PagePrinter&, PagePrinter::Done)>& begin) {
    std::promise<PrintOutcome> promise;
    mainLoop::post(
        [&] { begin(*engine_.printer, [&promise](PrintOutcome outcome) { promise.set_value(std::move(outcome)); }); });
    PrintOutcome outcome = promise.get_future().get();
    if (const auto* error = std::get_if<RenderError>(&outcome)) throw *error;
    return std::get<PrintedPage>(std::move(outcome));
}

}   // namespace ostrel
