#pragma once

#include "core/page/Page.h"
#include "platform/Time.h"

#include <cstddef>
#include <filesystem>
#include <optional>
#include <stdexcept>
#include <string>

namespace ostrel {

// What a PDF says about itself beside its pages.
struct DocumentInfo {
    std::string title;
    std::string author;
    std::optional<Instant> created;
};

// A page could not be printed; what() is one sentence for a person. The next page may succeed.
class RenderError : public std::runtime_error {
public:
    enum class Kind { loadFailed, engineCrashed, tooSlow, tooLarge, incomplete, notStarted, writeFailed };
    RenderError(Kind kind_, const std::string& reason) : std::runtime_error(reason), kind(kind_) {}
    Kind kind;
};

// The run was cancelled before the page was begun: an outcome, not a failure.
class RenderCancelled : public std::runtime_error {
public:
    RenderCancelled() : std::runtime_error("cancelled") {}
};

// Prints a message page to a PDF.
class PDFRendering {
public:
    virtual ~PDFRendering() = default;
    // Says that about so many pages are to come. Returns how many it takes at a time: from then on as many threads may
    // call renderPDF at once. Before, only one.
    virtual std::size_t prepareFor(std::size_t pages) {
        static_cast<void>(pages);
        return 1;
    }
    // Prints the page to a file, in the place of one that is there. Blocks until the PDF is whole at the destination,
    // or throws RenderError, FileError or RenderCancelled and leaves what was there. Returns a sentence that says what
    // the PDF lacks, where the page could only be printed in a simpler form; empty: nothing.
    virtual std::string renderPDF(const Page& page, const std::filesystem::path& destination,
                                  const DocumentInfo& info) = 0;
    // Returns what stands in the way of all pages and not of single ones, a sentence; empty: nothing.
    virtual std::string trouble() const { return {}; }
};

}   // namespace ostrel
