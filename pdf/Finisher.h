#pragma once

#include "pdf/FinishedFile.h"
#include "pdf/Printed.h"
#include "pdf/images/PlacedPictures.h"
#include "pdf/pages/Links.h"
#include "pdf/tags/PageListing.h"
#include "pdf/tags/TextCoverage.h"
#include "platform/Time.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
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
    std::vector<std::string> files{};    // by LinkMark::attachment, paths from the folder of the PDF; empty: none
    PageListing listing{};               // what was printed, as its document has it
    // Of the page that was printed. The text tells what glyphs mean that stand for several characters; the pictures are
    // those that the engine has not seen, and must live as long as the finished file.
    std::string_view text{};
    std::span<const PlacedPicture> pictures{};
};

// One thing that the finisher does.
struct PassReport {
    std::string_view name;   // "fontReduction"
    std::chrono::nanoseconds time{};
    std::size_t bytesBefore = 0, bytesAfter = 0;   // of the streams that it replaced, as stored; writing: of the file
    std::string failure{};                         // why it was left out; empty: it ran
    std::vector<std::string> kept{};               // what it left as the engine made it, each with the reason
};

// What became of the file.
struct FinishReport {
    std::size_t pages = 0;
    std::size_t links = 0;            // annotations written
    std::size_t fontsReduced = 0;     // font programs cut down to the glyphs in use
    std::size_t fontsKept = 0;        // font programs left whole
    std::size_t picturesPlaced = 0;   // as they came
    bool isArchival = false;          // says that it is PDF/A-2u (ISO 19005-2)
    bool isTagged = false;            // tells what is read on its pages, and in which order
    bool isAccessible = false;        // says that it is PDF/UA-1 (ISO 14289-1): tells it by the document's elements
    std::optional<TextCoverage> coverage{};   // nullopt: the pages could not be read
    // The colours of pictures that did not come back as they must (PlacedPictures.h). If there are any, there is no
    // file: the page is to be printed again with those in it.
    std::vector<std::uint32_t> notPlaced{};
    std::vector<PassReport> passes{};   // in the order done
};

// Turns what the web engine prints into what is kept: pages scaled back to the paper, fonts cut down to the glyphs in
// use, pictures drawn as they came, links, title and dates added, empty sheets at the end left out. Text and pixels
// stay exactly as printed. The same input gives the same bytes.
//
// Remembers the fonts of earlier files within a fixed amount of memory, so keep one finisher for a whole export. Any
// number of threads.
class Finisher {
public:
    Finisher();
    Finisher(const Finisher&) = delete;
    Finisher& operator=(const Finisher&) = delete;
    ~Finisher();

    struct Finished {
        FinishedFile pdf;
        FinishReport report;
    };
    // A pass that fails is left out and the file finished without it, as the report tells. Throws Error if the file
    // cannot be finished at all.
    Finished finish(Printed printed, const FinishOptions& options);

private:
    struct Memory;
    std::unique_ptr<Memory> memory_;
};

}   // namespace ostrel::pdf
