#include "fuzz/Target.h"

#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <span>
#include <string>

// The entry points of libFuzzer.

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    ostrel::fuzz::run(std::as_bytes(std::span(data, size)));
    return 0;
}

// "--write-seeds FOLDER" writes the seeds and ends.
extern "C" int LLVMFuzzerInitialize(int* count, char*** arguments) {
    if (*count != 3 || std::string((*arguments)[1]) != "--write-seeds") return 0;
    const std::string folder = (*arguments)[2];
    std::size_t number = 0;
    for (const std::string& seed : ostrel::fuzz::seeds()) {
        std::ofstream(folder + "/seed-" + std::to_string(number++), std::ios::binary) << seed;
    }
    std::exit(0);
}
