#pragma once

#include "core/export/Paper.h"
#include "render/engine/PrintLimits.h"
#include "render/print/PagePrinter.h"

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <filesystem>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace ostrel {

// The page printers of an export, each with a web process of its own. A further one is started only when a page finds
// all the others busy; when there are as many as allowed, it waits. Any thread but the main one, which turns its loop.
class PrinterPool {
public:
    PrinterPool(PaperSize paper, PrintLimits limits) : paper_(paper), limits_(limits) {}
    PrinterPool(const PrinterPool&) = delete;
    PrinterPool& operator=(const PrinterPool&) = delete;
    ~PrinterPool();   // on any thread; no printer is in use

    // One printer for the first, until it is told otherwise.
    void allow(std::size_t printers);

private:
    struct Engine {
        std::shared_ptr<PagePrinter> printer;   // main thread only
        unsigned long pages = 0;                // of its process
    };

public:
    // A printer for the use of one thread.
    class Use {
    public:
        explicit Use(PrinterPool& pool);   // waits for a free one
        Use(const Use&) = delete;
        Use& operator=(const Use&) = delete;
        ~Use();

        // As PagePrinter has them, waiting for the outcome. Throws RenderError: whatever goes wrong with the engine or
        // takes too long is this page's alone.
        PrintedPage print(const std::string& html, PagePrinter::Colours placeholders,
                          const std::filesystem::path& output, std::chrono::nanoseconds atMost);
        PrintedPage printWider(std::chrono::nanoseconds atMost);

    private:
        PrintedPage wait(const std::function<void(PagePrinter&, PagePrinter::Done)>& begin);

        PrinterPool& pool_;
        Engine& engine_;
        bool isRenewing_ = false;
    };

private:
    Engine& take();
    bool mayRenew(Engine& engine);
    void giveBack(Engine& engine, bool wasRenewing);

    const PaperSize paper_;
    const PrintLimits limits_;
    std::mutex mutex_;   // of all below
    std::condition_variable isFree_;
    std::size_t allowed_ = 1;
    std::vector<std::unique_ptr<Engine>> engines_;
    std::vector<Engine*> idle_;    // last used last
    bool isOneRenewing_ = false;   // and the others do so later: together they would make a pause
};

}   // namespace ostrel
