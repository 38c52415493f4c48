// ostrel-sample: writes the sample mail store, or one of any number of messages for measuring.

#include "sample/SampleMail.h"

#include <charconv>
#include <cstring>
#include <exception>
#include <iostream>
#include <optional>

namespace {

// Nothing when the text is no positive number.
std::optional<std::size_t> parseCount(const char* text) {
    std::size_t count = 0;
    const char* end = text + std::strlen(text);
    const auto [rest, error] = std::from_chars(text, end, count);
    return error == std::errc() && rest == end && count > 0 ? std::optional(count) : std::nullopt;
}

}   // namespace

int main(int argc, char** argv) {
    const std::optional<std::size_t> count = argc == 3 ? parseCount(argv[2]) : std::nullopt;
    if (argc < 2 || argc > 3 || *argv[1] == '-' || (argc == 3 && !count)) {
        std::cerr << "usage: ostrel-sample FOLDER [COUNT]\n";
        return 2;
    }
    try {
        ostrel::SampleMail::write(argv[1], count);
        return 0;
    } catch (const std::exception& error) {
        std::cerr << "ostrel-sample: " << error.what() << '\n';
        return 2;
    }
}
