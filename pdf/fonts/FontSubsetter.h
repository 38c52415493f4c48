#pragma once

#include "pdf/fonts/GlyphUse.h"

#include <cstddef>
#include <list>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>

namespace ostrel::pdf {

// Cuts TrueType programs down to some of their glyphs. The engine embeds the same few installed fonts in every file, so
// fonts of earlier calls are kept open, within a fixed amount of memory. Any number of threads.
class FontSubsetter {
public:
    FontSubsetter();
    ~FontSubsetter();

    struct Program {
        std::string packed;             // a zlib stream
        std::size_t unpackedSize = 0;   // bytes
    };
    // Glyphs keep their numbers and their outlines; hinting, layout and naming tables go. nullopt if the font is not
    // understood.
    std::optional<Program> subset(std::string_view program, const CodeSet& glyphs);

private:
    struct Face;
    std::shared_ptr<const Face> faceOf(std::string_view program);

    std::mutex mutex_;                               // of what follows
    std::list<std::shared_ptr<const Face>> faces_;   // latest used first
    std::size_t heldBytes_ = 0;
};

}   // namespace ostrel::pdf
