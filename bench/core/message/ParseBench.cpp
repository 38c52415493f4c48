// How fast bytes become a MailMessage. GMimePeer.cpp measures the same messages through GMime.

#include "bench/core/message/SampleMessages.h"
#include "core/message/EncodedWords.h"
#include "core/message/MailMessage.h"
#include "core/message/TransferEncoding.h"

#include <benchmark/benchmark.h>

namespace {

using namespace ostrel;

void parse(benchmark::State& state, const std::string& message) {
    for (auto _ : state) {
        benchmark::DoNotOptimize(MailMessage::make(MIMEPart::parse(Bytes(message)), false, {}));
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * message.size()));
}
BENCHMARK_CAPTURE(parse, shortText, bench::shortText());
BENCHMARK_CAPTURE(parse, newsletter, bench::newsletter());
BENCHMARK_CAPTURE(parse, attachment5MB, bench::withAttachment(5 << 20));
BENCHMARK_CAPTURE(parse, parts10000, bench::manyParts(10'000));

void headersOnly(benchmark::State& state, const std::string& message) {
    for (auto _ : state) {
        const auto bytes = bytesOf(message);
        benchmark::DoNotOptimize(Headers::parse(bytes.first(splitHeaderAndBody(bytes).headerSize)));
    }
}
BENCHMARK_CAPTURE(headersOnly, newsletter, bench::newsletter());

}   // namespace
