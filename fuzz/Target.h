#pragma once

#include "platform/Bytes.h"

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

// A fuzz target: one door through which foreign bytes come in. Each source in this folder's tree defines run() and
// seeds() for one door; Fuzzer.cpp gives it to libFuzzer, Replay.cpp runs it over its seeds and their mutations with
// any compiler.
namespace ostrel::fuzz {

// Takes any bytes; a broken law ends the program by holds().
void run(ByteView input);
// Honest inputs to begin from.
std::vector<std::string> seeds();

// Ends the program, saying the law, when it does not hold.
void holds(bool law, std::string_view words);
void isValidText(std::string_view text, std::string_view what);

// Calls with the first bytes of the input, of several lengths: what was cut short anywhere must be read too.
void everyPrefix(ByteView input, const std::function<void(ByteView)>& read);

}   // namespace ostrel::fuzz
