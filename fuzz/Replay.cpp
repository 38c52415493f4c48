#include "fuzz/Target.h"

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <string_view>
#include <vector>

// replay COUNT: the target over its seeds and COUNT mutations of them, the same on every machine. replay FILE...: over
// files, to see what a fuzzer found. An input that breaks a law is left in the file "broken-input".

namespace {

using namespace ostrel;

class Mutator {
public:
    explicit Mutator(std::vector<std::string> seeds) : seeds_(std::move(seeds)) {}

    std::string next() {
        std::string input = seeds_[below(seeds_.size())];
        for (std::size_t edits = 1 + below(8); edits > 0; --edits) edit(input);
        return input;
    }

private:
    // Not std::uniform_int_distribution, which differs between libraries.
    std::size_t below(std::size_t bound) { return bound == 0 ? 0 : random_() % bound; }

    void edit(std::string& input) {
        const std::size_t at = below(input.size() + 1);
        const std::size_t length = below(std::min<std::size_t>(input.size() - at, 40) + 1);
        switch (below(6)) {
            case 0:
                input.erase(at, length);
                break;
            case 1:
                input.insert(at, input.substr(below(input.size() + 1), 1 + below(40)));
                break;
            case 2:
                input.insert(at, 1 + below(3), static_cast<char>(below(256)));
                break;
            case 3:
                if (at < input.size()) input[at] = static_cast<char>(input[at] ^ (1 << below(8)));
                break;
            case 4: {   // a piece of another seed
                const std::string& other = seeds_[below(seeds_.size())];
                input.replace(at, length, other.substr(below(other.size() + 1), 1 + below(200)));
                break;
            }
            default:
                if (at < input.size()) input.resize(at);
                break;
        }
    }

    std::vector<std::string> seeds_;
    std::mt19937 random_{20240305};
};

std::string current;   // what to look at when a law breaks

void keepInput(int) {
    std::ofstream("broken-input", std::ios::binary) << current;
    std::_Exit(1);
}

void runOn(std::string input) {
    current = std::move(input);
    fuzz::run(bytesOf(current));
}

}   // namespace

int main(int argc, char** argv) {
    std::signal(SIGABRT, keepInput);
    char* end = nullptr;
    const long count = argc == 2 ? std::strtol(argv[1], &end, 10) : 0;
    if (end != nullptr && *end == '\0') {
        const std::vector<std::string> seeds = fuzz::seeds();
        for (const std::string& seed : seeds) runOn(seed);
        Mutator mutator(seeds);
        for (long done = 0; done < count; ++done) runOn(mutator.next());
        return 0;
    }
    for (int each = 1; each < argc; ++each) {
        std::ifstream file(argv[each], std::ios::binary);
        runOn({std::istreambuf_iterator<char>(file), {}});
    }
    return 0;
}
