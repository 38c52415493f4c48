#pragma once

#include "core/page/Page.h"
#include "pictures/Decoder.h"

#include <memory>
#include <optional>
#include <utility>

namespace ostrel {

// Makes pages for the engine, which does not show all that a Mac shows: HEIC, TIFF and JPEG 2000 pictures become PNG or
// JPEG, PDFs SVG. Where that cannot be done, and for pictures that would cost the engine its memory or that it would
// show as broken, a box of their size says their name and why. Keep one for many pages: its decoder holds a program
// that takes time to start. Any thread.
class ForeignPictures {
public:
    explicit ForeignPictures(std::shared_ptr<pictures::Decoder> decoder = std::make_shared<pictures::Decoder>())
        : decoder_(std::move(decoder)) {}

    // nullopt if the page has nothing of the kind: the engine shows it as it is.
    std::optional<Page> shown(const Page& page) const;

private:
    const std::shared_ptr<pictures::Decoder> decoder_;
};

}   // namespace ostrel
