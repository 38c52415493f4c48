#pragma once

#include "core/page/Page.h"
#include "pdf/images/PlacedPictures.h"
#include "pictures/Decoder.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <random>
#include <span>
#include <string>
#include <vector>

namespace ostrel {

// What stands for one page's pictures while the engine prints it: drawings of their size, of one rectangle in a colour
// of its own (pdf/images/PlacedPictures.h). So the engine neither decodes nor packs pictures that the PDF holds as they
// came.
class Placeholders {
public:
    // Makes of a picture what a PDF holds; nullopt where it cannot be done.
    using Decode = std::function<std::optional<pictures::Decoded>(ByteView)>;
    // The page must outlive it.
    Placeholders(const Page& page, const Decode& decode);

    struct PageForEngine {
        std::string html;
        std::vector<pdf::PlacedPicture> pictures;   // those that do not stand in it
    };
    // Each time in other colours, which nobody can foresee. nullopt: the page is to be printed as it is.
    std::optional<PageForEngine> next();

    // The pictures that had these colours in the last one are to stand in the page from now on.
    void leaveToEngine(std::span<const std::uint32_t> colours);

private:
    struct Placeable {
        pdf::Original original;
        std::vector<PagePicture::Address> addresses;   // where nothing but the picture depends on them
        std::uint32_t colour = 0;
        std::string name{};   // of the file
    };
    const Page& page_;
    std::vector<Placeable> placeable_;
    std::random_device random_;
};

}   // namespace ostrel
