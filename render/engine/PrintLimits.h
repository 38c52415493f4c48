#pragma once

#include <chrono>
#include <cstddef>

namespace ostrel {

// How long one page may take before the engine's process is ended and the page counts as failed, and how many pages one
// process takes. On a slow machine with two cores the longest honest pages took 16 s to print (1,442 sheets) and about
// 1 s for every 50 MB to load: the limits leave more than ten times that, and still end a page made never to end.
struct PrintLimits {
    std::chrono::milliseconds load = std::chrono::minutes(1);
    std::chrono::milliseconds print = std::chrono::minutes(4);
    // Added to both for every megabyte of the page.
    std::chrono::milliseconds perMegabyte = std::chrono::seconds(2);
    // The engine keeps a little of each page, 30 MB of 20,000: after so many its process is ended and a fresh one
    // started, which takes as long as ten pages.
    unsigned long pagesPerProcess = 1000;
};

}   // namespace ostrel
