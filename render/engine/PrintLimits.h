#pragma once

#include <chrono>
#include <cstddef>

namespace ostrel {

// How long one page may take before the engine's process is ended and the page is printed in a simpler form, and how
// many pages one process takes. On a slow machine with two cores a megabyte of text took 9 s to print, a table of
// 100,000 cells 10 s, and 50 MB of anything 1 s to load: honest pages stay within, and one made never to end is soon
// ended.
struct PrintLimits {
    std::chrono::milliseconds load = std::chrono::seconds(15);
    std::chrono::milliseconds print = std::chrono::seconds(20);
    // Added to both for every megabyte of the page.
    std::chrono::milliseconds perMegabyte = std::chrono::seconds(12);
    // For everything that the engine does for one message, simpler forms included. What it has not printed then is set
    // without it, which takes a few seconds more.
    std::chrono::milliseconds ladder = std::chrono::seconds(35);
    // Larger files than the engine makes of a table of 100,000 cells.
    std::size_t fileBytes = std::size_t{1} << 30;
    // The engine keeps a little of each page, 30 MB of 20,000: after so many its process is ended and a fresh one
    // started, which takes as long as ten pages.
    unsigned long pagesPerProcess = 1000;
};

}   // namespace ostrel
