#include "pdf/images/JPEG.h"

#include "fuzz/Target.h"
#include "tests/pdf/SamplePDF.h"

namespace ostrel::fuzz {
namespace {

// The finisher decodes only what is as large as a picture that was printed.
constexpr std::size_t printedPixels = 1 << 16;

void pixels(std::string_view file, std::string_view bare, const pdf::ImageSize& size) {
    auto decoded = pdf::jpeg::decodedPixels(file);
    holds(decoded == pdf::jpeg::decodedPixels(bare), "metadata are no pixels");
    if (!decoded) return;
    holds(decoded->size() == size.width * size.height * 3, "a picture is as large as it says");
    holds(pdf::jpeg::decodesTo(file, *decoded), "a picture has the pixels that it decodes to");
    decoded->back() = static_cast<char>(decoded->back() ^ 1);
    holds(!pdf::jpeg::decodesTo(file, *decoded), "and no others");
}

}   // namespace

void run(ByteView input) {
    const std::string_view file = charsOf(input);
    const std::string bare = pdf::jpeg::withoutMetadata(file);
    holds(bare.size() <= file.size(), "nothing is added to a picture");
    holds(pdf::jpeg::withoutMetadata(bare) == bare, "metadata go at once");
    const auto size = pdf::jpeg::size(file);
    holds(size == pdf::jpeg::size(bare), "a picture without metadata is the same picture");
    if (size && size->width * size->height <= printedPixels) pixels(file, bare, *size);
}

std::vector<std::string> seeds() {
    std::vector<std::string> files;
    for (const auto kind : {test::JPEGKind::baseline, test::JPEGKind::progressive, test::JPEGKind::gray})
        files.push_back(test::photograph(19, 9, kind).jpeg);
    return files;
}

}   // namespace ostrel::fuzz
