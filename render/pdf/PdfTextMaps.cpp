#include "render/pdf/PdfTextMaps.h"

#include "render/pdf/PdfStreams.h"
#include "render/pdf/ToUnicode.h"

#include <set>

namespace ostrel::pdf {

void makeTextTyped(QPDF& file) {
    std::set<QPDFObjGen> seen;   // fonts share tables
    for (auto& object : file.getAllObjects()) {
        if (!object.isDictionaryOfType("/Font")) continue;
        auto stream = object.getKey("/ToUnicode");
        if (!stream.isStream() || !seen.insert(stream.getObjGen()).second) continue;
        const auto cmap = decoded(stream);
        auto map = cmap ? parseToUnicode(*cmap) : std::nullopt;
        if (map && makeTyped(*map)) replaceDeflated(stream, zlib::deflate(makeToUnicode(*map), zlib::Effort::good));
    }
}

}   // namespace ostrel::pdf
