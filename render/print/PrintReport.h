#pragma once

#include "pdf/Finisher.h"

#include <chrono>
#include <cstddef>

namespace ostrel {

// How long the engine took for a page, all attempts together.
struct PrintTimes {
    std::chrono::nanoseconds load{}, measure{}, print{};
    PrintTimes& operator+=(const PrintTimes& more) {
        load += more.load;
        measure += more.measure;
        print += more.print;
        return *this;
    }
};

// What became of one page on its way to a PDF.
struct PrintReport {
    PrintTimes engine;
    int attempts = 0;                  // more than one: the page was wider, or its pictures were more than drawn
    std::size_t printedBytes = 0;      // as the engine wrote it
    std::chrono::nanoseconds open{};   // to parse the printed file, all attempts together
    std::chrono::nanoseconds finish{};
    std::size_t finishedBytes = 0;
    pdf::FinishReport finished{};
};

}   // namespace ostrel
