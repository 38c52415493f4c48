#pragma once

#include "core/page/Page.h"
#include "pictures/Decoder.h"

#include <mutex>
#include <optional>

namespace ostrel {

// Makes pages for the engine, which does not show all that a Mac shows: HEIC, TIFF and JPEG 2000 pictures become PNG or
// JPEG, PDFs SVG. Where that cannot be done, a box says so in the picture's place. Keep one for many pages: it holds
// the program that decodes. Any thread; calls wait for each other.
class ForeignPictures {
public:
    ForeignPictures() = default;
    explicit ForeignPictures(std::filesystem::path decodingProgram) : decoder_(std::move(decodingProgram)) {}

    // nullopt if the page has none of them: the engine shows it as it is.
    std::optional<Page> shown(const Page& page);

private:
    std::mutex mutex_;
    pictures::Decoder decoder_;
};

}   // namespace ostrel
