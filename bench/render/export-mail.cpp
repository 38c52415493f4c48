// export-mail ENGINES CALLS MAILFOLDER DESTINATION: exports with so many engine processes and so many pages under way,
// or as suits the machine when both are 0, and prints one line of JSON about it.

#include "core/export/Exporter.h"
#include "core/mailstore/MailScanner.h"
#include "render/engine/HeadlessEngine.h"
#include "render/loop/MainLoop.h"
#include "render/print/WebPDFRenderer.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

namespace ostrel {
namespace {

using Clock = std::chrono::steady_clock;
using Milliseconds = std::chrono::duration<double, std::milli>;

// How late the main loop comes to what is to be done at a time: what a window would feel of an export.
class Lateness {
public:
    Lateness() { wait(); }
    double percentile(std::size_t percent) {
        std::ranges::sort(late_);
        return late_.empty() ? 0 : late_[(late_.size() - 1) * percent / 100];
    }

private:
    void wait() {
        constexpr std::chrono::milliseconds pause(10);
        due_ = Clock::now() + pause;
        timer_ = mainLoop::Timer(pause, [this] {
            late_.push_back(Milliseconds(Clock::now() - due_).count());
            mainLoop::post([this] { wait(); });
        });
    }

    Clock::time_point due_;
    std::vector<double> late_;
    mainLoop::Timer timer_;
};

struct Request {
    Capacity capacity;
    std::filesystem::path mailFolder, destination;
};

void run(const Request& request, std::string& answer) {
    const MailIndex index = MailScanner::scan(
        request.mailFolder, "On My Mac", [](std::size_t) {}, [] { return false; });
    std::vector<const MessageSummary*> messages;
    for (const MessageSummary& message : index.messages) messages.push_back(&message);
    ExportSettings settings("Export");
    settings.mailFolder = index.root;
    WebPDFRenderer renderer(Paper::a4, {}, {},
                            request.capacity.engines > 0 ? std::optional(request.capacity) : std::nullopt);
    const auto begin = Clock::now();
    const ExportResult result =
        Exporter::run(messages, {}, request.destination, settings, renderer, [](const ExportProgress&) {}, {});
    const double seconds = std::chrono::duration<double>(Clock::now() - begin).count();
    answer = "{\"exported\": " + std::to_string(result.exported) +
             ", \"failed\": " + std::to_string(result.failed.size()) + ", \"seconds\": " + std::to_string(seconds) +
             ", \"messagesPerSecond\": " + std::to_string(static_cast<double>(messages.size()) / seconds);
    for (const auto& failure : result.failed) std::cerr << failure.name << ": " << failure.reason << '\n';
}

}   // namespace
}   // namespace ostrel

int main(int argc, char** argv) {
    using namespace ostrel;
    if (argc != 5) {
        std::cerr << "usage: export-mail ENGINES CALLS MAILFOLDER DESTINATION\n";
        return 2;
    }
    try {
        const Request request{
            {std::strtoul(argv[1], nullptr, 10), std::strtoul(argv[2], nullptr, 10)}, argv[3], argv[4]};
        const HeadlessEngine engine;
        std::string answer;
        Lateness lateness;
        mainLoop::runBeside([&] { run(request, answer); });
        std::cout << answer << ", \"lateMilliseconds\": {\"half\": " << lateness.percentile(50)
                  << ", \"99%\": " << lateness.percentile(99) << ", \"all\": " << lateness.percentile(100) << "}}"
                  << std::endl;
        return 0;
    } catch (const std::exception& error) {
        std::cerr << "export-mail: " << error.what() << '\n';
        return 2;
    }
}
