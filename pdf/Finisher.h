#pragma once

#include "core/page/Page.h"
#include "pdf/Links.h"
#include "pdf/Printed.h"
#include "platform/Time.h"

#include <cstddef>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace ostrel::pdf {

struct FinishOptions {   // every field has an initialiser, so that callers may name only some
    double widthPoints = 595, heightPoints = 842;   // the paper that every page ends up on
    double scale = 1;                               // final size over printed size; 1: printed on the paper itself
    std::string title{}, author{};                  // UTF-8; empty: the entry is left out
    std::optional<Instant> created{};               // the message's date
    std::optional<std::string> language{};          // BCP 47
    std::vector<LinkArea> links{};
    std::vector<LinkMark> linkMarks{};   // to be found on the pages, taken out and added to links
    // Of the page that was printed; both must live for the call. The text tells what glyphs mean that stand for several
    // characters. JPEGs replace what the engine made of them, where that has the same pixels.
    std::string_view text{};
    std::span<const PagePicture> pictures{};
};

// What became of the file. Nothing in it is an error: what could not be made smaller was kept as the engine wrote it.
struct FinishReport {
    std::size_t pages = 0;
    std::size_t links = 0;          // annotations written
    std::size_t fontsReduced = 0;   // font programs cut down to the glyphs in use
    std::size_t fontsKept = 0;      // font programs left whole
    std::size_t jpegsRestored = 0;
    bool operator==(const FinishReport&) const = default;
};

// Turns what the web engine prints into what is kept: pages scaled back to the paper, fonts cut down to the glyphs in
// use, original photographs put back, links, title and dates added. Text and pixels stay exactly as printed. The same
// input gives the same bytes.
//
// Remembers the fonts of earlier files within a fixed amount of memory, so keep one finisher for a whole export. Use it
// from one thread at a time; which one does not matter.
class Finisher {
public:
    Finisher();
    Finisher(const Finisher&) = delete;
    Finisher& operator=(const Finisher&) = delete;
    ~Finisher();

    struct Finished {
        std::string pdf;
        FinishReport report;
    };
    // Throws Error.
    Finished finish(Printed printed, const FinishOptions& options);

private:
    struct Memory;
    std::unique_ptr<Memory> memory_;
};

}   // namespace ostrel::pdf
