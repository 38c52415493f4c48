#include "pictures/helper/Formats.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <vector>

#include <gif_lib.h>

namespace ostrel::pictures {
namespace {

struct Source {
    ByteView bytes;
    std::size_t at = 0;
};

int readSome(GifFileType* file, GifByteType* to, int count) {
    auto& source = *static_cast<Source*>(file->UserData);
    const auto size = std::min(static_cast<std::size_t>(std::max(count, 0)), source.bytes.size() - source.at);
    std::memcpy(to, source.bytes.data() + source.at, size);
    source.at += size;
    return static_cast<int>(size);
}

struct Closer {
    void operator()(GifFileType* file) const { DGifCloseFile(file, nullptr); }
};

// As browsers show them, also where the rest is missing.
bool hasLine(GifFileType* file, std::vector<GifPixelType>& line) {
    return DGifGetLine(file, line.data(), static_cast<int>(line.size())) != GIF_ERROR;
}

void check(int outcome) {
    if (outcome == GIF_ERROR) throw NotAPicture("not as a GIF must be");
}

// What stands before the first picture. Returns the colour that is transparent; NO_TRANSPARENT_COLOR: none.
int readToPicture(GifFileType* file) {
    int transparent = NO_TRANSPARENT_COLOR;
    for (;;) {
        GifRecordType type = UNDEFINED_RECORD_TYPE;
        check(DGifGetRecordType(file, &type));
        if (type == IMAGE_DESC_RECORD_TYPE) return transparent;
        if (type != EXTENSION_RECORD_TYPE) throw NotAPicture("no picture");
        int function = 0;
        GifByteType* block = nullptr;   // its length, and so many bytes
        check(DGifGetExtension(file, &function, &block));
        GraphicsControlBlock control{};
        if (function == GRAPHICS_EXT_FUNC_CODE && block && DGifExtensionToGCB(block[0], block + 1, &control) == GIF_OK)
            transparent = control.TransparentColor;
        while (block) check(DGifGetExtensionNext(file, &block));
    }
}

// The rows of an interlaced picture come in four passes: GIF89a, Appendix E.
std::vector<int> rowOrder(int height, bool isInterlaced) {
    struct Pass {
        int first, step;
    };
    std::vector<int> rows;
    for (const auto& [first, step] :
         isInterlaced ? std::vector<Pass>{{0, 8}, {4, 8}, {2, 4}, {1, 2}} : std::vector<Pass>{{0, 1}})
        for (int row = first; row < height; row += step) rows.push_back(row);
    return rows;
}

}   // namespace

Pixels decodeGIF(ByteView picture) {
    Source source{picture};
    const std::unique_ptr<GifFileType, Closer> file(DGifOpen(&source, readSome, nullptr));
    if (!file) throw NotAPicture("not a GIF");
    checkSize(static_cast<unsigned>(file->SWidth), static_cast<unsigned>(file->SHeight));
    const int transparent = readToPicture(file.get());
    check(DGifGetImageDesc(file.get()));
    const auto& image = file->Image;
    const auto* const colours = image.ColorMap ? image.ColorMap : file->SColorMap;
    // Browsers disagree about a picture that reaches beyond its screen.
    if (!colours || image.Left < 0 || image.Top < 0 || image.Width <= 0 || image.Height <= 0 ||
        image.Left + image.Width > file->SWidth || image.Top + image.Height > file->SHeight)
        throw NotAPicture("no picture within the screen");
    auto pixels = blank(static_cast<unsigned>(file->SWidth), static_cast<unsigned>(file->SHeight), 4);
    std::vector<GifPixelType> line(static_cast<std::size_t>(image.Width));
    bool isEmpty = true;
    for (const int row : rowOrder(image.Height, image.Interlace)) {
        if (!hasLine(file.get(), line)) break;
        isEmpty = false;
        auto* to = pixels.row(static_cast<std::size_t>(image.Top + row)) + image.Left * 4;
        for (const auto index : line) {
            if (index < colours->ColorCount && index != transparent) {
                const auto& [red, green, blue] = colours->Colors[index];
                const unsigned char pixel[] = {red, green, blue, 0xFF};
                std::memcpy(to, pixel, sizeof pixel);
            }
            to += 4;
        }
    }
    if (isEmpty) throw NotAPicture("not one line");
    return pixels;
}

}   // namespace ostrel::pictures
