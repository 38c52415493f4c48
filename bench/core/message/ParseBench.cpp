// How fast bytes become a MailMessage. GMimePeer.cpp does the same work on the same messages with GMime.

#include "bench/core/message/ParseInputs.h"
#include "core/message/MailMessage.h"

#include <benchmark/benchmark.h>

namespace ostrel {
namespace {

void parse(benchmark::State& state, const bench::ParseInput& input) {
    const std::vector<Bytes> messages = input.messages();
    for (auto _ : state) {
        for (const Bytes& message : messages)
            benchmark::DoNotOptimize(MailMessage::make(MIMEPart::parse(message), false, {}));
    }
    state.SetBytesProcessed(state.iterations() * bench::totalSize(messages));
}

const bool registered = [] {
    for (const bench::ParseInput& input : bench::parseInputs)
        benchmark::RegisterBenchmark(("parse/" + std::string(input.name) + "/ostrel").c_str(), parse, input);
    return true;
}();

}   // namespace
}   // namespace ostrel
