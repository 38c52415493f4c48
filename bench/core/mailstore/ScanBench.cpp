// A scan of a store that is in the system's cache, beside what the system alone takes for opening each of its files,
// reading the first 64 KiB and closing it.

#include "bench/Inputs.h"
#include "core/mailstore/MailScanner.h"

#include <array>
#include <optional>

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <unistd.h>

namespace ostrel {
namespace {

void scan(benchmark::State& state) {
    std::size_t found = 0;
    for (auto _ : state) {
        std::optional index = MailScanner::scan(
            bench::store(), "On My Mac", [](std::size_t) {}, [] { return false; });
        found = index->messages.size();
        state.PauseTiming();   // a program keeps its index
        index.reset();
        state.ResumeTiming();
    }
    state.counters["messages"] = static_cast<double>(found);
}

void openReadClose(benchmark::State& state) {
    const auto paths = bench::storedFiles();
    std::array<char, 65536> buffer;
    for (auto _ : state) {
        for (const std::filesystem::path& path : paths) {
            const int file = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
            benchmark::DoNotOptimize(::read(file, buffer.data(), buffer.size()));
            ::close(file);
        }
    }
}

// A scan has a thread of its own for reading: what counts is the time that passes, and what all threads use.
void inRealTime(benchmark::internal::Benchmark* scanning) {
    scanning->Unit(benchmark::kMillisecond)->MeasureProcessCPUTime()->UseRealTime();
}

BENCHMARK(scan)->Name("scan/warm store/ostrel")->Apply(inRealTime);
BENCHMARK(openReadClose)->Name("scan/warm store/system")->Apply(inRealTime);

}   // namespace
}   // namespace ostrel
