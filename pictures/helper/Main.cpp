// Reads pictures from standard input and writes to standard output what was made of them (Wire.h), behind a wall that
// is closed before the first byte is read.

#include "pictures/Wire.h"
#include "pictures/headers/JPEGHeader.h"
#include "pictures/helper/Encode.h"
#include "pictures/helper/Formats.h"
#include "pictures/helper/OpenedBefore.h"
#include "pictures/helper/Wall.h"

#include <cerrno>
#include <new>
#include <string>

#include <unistd.h>

namespace ostrel::pictures {
namespace {

// False at the end.
bool readAll(void* to, std::size_t count) {
    for (std::size_t done = 0; done < count;) {
        const auto got = read(STDIN_FILENO, static_cast<char*>(to) + done, count - done);
        if (got == 0 || (got < 0 && errno != EINTR)) return false;
        if (got > 0) done += static_cast<std::size_t>(got);
    }
    return true;
}

void writeAll(const void* from, std::size_t count) {
    for (std::size_t done = 0; done < count;) {
        const auto put = write(STDOUT_FILENO, static_cast<const char*>(from) + done, count - done);
        if (put < 0 && errno != EINTR) _exit(0);   // nobody listens any more
        if (put > 0) done += static_cast<std::size_t>(put);
    }
}

Pixels decode(ByteView picture) {
    switch (kindOf(picture)) {
        case Kind::heic:
            return decodeHEIF(picture);
        case Kind::tiff:
            return decodeTIFF(picture);
        case Kind::jpeg2000:
            return decodeJPEG2000(picture);
        case Kind::png:
            return decodePNG(picture);
        case Kind::gif:
            return decodeGIF(picture);
        case Kind::webp:
            return decodeWebP(picture);
        default:
            throw NotAPicture("a kind that is not decoded here");
    }
}

struct Made {
    wire::Answer answer{};
    std::string file, mask;
};

Made make(ByteView picture, bool splitsAlpha) {
    Made made;
    const auto kind = kindOf(picture);
    auto planes = splitsAlpha && kind == Kind::png ? planesOfPNG(picture) : std::nullopt;
    if (planes) {
        made.answer = {wire::Outcome::decoded, Kind::png, planes->size.width, planes->size.height, 0, 0};
        made.file = std::move(planes->colours);
        made.mask = std::move(planes->alpha);
    } else if (kind == Kind::jpeg) {
        auto completed = completedJPEG(picture);
        made.file = std::move(completed.file);
        if (splitsAlpha) made.mask = std::move(completed.mask);
        const auto header = readJPEGHeader(bytesOf(made.file));
        const auto size = header ? header->naturalSize() : Size();
        made.answer = {wire::Outcome::decoded, Kind::jpeg, size.width, size.height, 0, 0};
    } else if (kind == Kind::pdf) {
        auto drawing = drawPDF(picture);
        made.file = std::move(drawing.svg);
        made.answer = {wire::Outcome::decoded, Kind::svg, drawing.width, drawing.height, 0, 0};
    } else {
        auto pixels = reduced(decode(picture));
        made.answer = {wire::Outcome::decoded, Kind::png, pixels.width, pixels.height, 0, 0};
        if (pixels.hasAlpha() && splitsAlpha) {
            auto layers = split(pixels);
            made.mask = encodePNG(layers.alpha);
            pixels = reduced(std::move(layers.colours));
        }
        const bool isPhotograph = pixels.isLossy && !pixels.hasAlpha();
        if (isPhotograph) made.answer.kind = Kind::jpeg;
        made.file = isPhotograph ? encodeJPEG(pixels) : encodePNG(pixels);
    }
    made.answer.bytes = made.file.size();
    made.answer.maskBytes = made.mask.size();
    if (made.answer.bytes + made.answer.maskBytes > wire::maxAnswerBytes) throw TooLarge();
    return made;
}

Made makeOrRefuse(ByteView picture, bool splitsAlpha) {
    const auto refuse = [](wire::Outcome why) { return Made{{why, Kind::unknown, 0, 0, 0, 0}, {}, {}}; };
    try {
        return make(picture, splitsAlpha);
    } catch (const TooLarge&) {
        return refuse(wire::Outcome::tooLarge);
    } catch (const std::bad_alloc&) {
        return refuse(wire::Outcome::tooLarge);
    } catch (const std::exception&) {
        return refuse(wire::Outcome::damaged);
    }
}

void serve() {
    for (wire::Request request{}; readAll(&request, sizeof request);) {
        std::string picture(request.bytes, '\0');
        if (!readAll(picture.data(), picture.size())) return;
        wall::limitTime(request.milliseconds);
        const auto made = makeOrRefuse(bytesOf(picture), request.splitsAlpha != 0);
        wall::limitTime(0);
        writeAll(&made.answer, sizeof made.answer);
        writeAll(made.file.data(), made.file.size());
        writeAll(made.mask.data(), made.mask.size());
    }
}

}   // namespace
}   // namespace ostrel::pictures

int main() {
    using namespace ostrel::pictures;
    warmUp();
    openedBefore::seal();
    if (!wall::close()) _exit(wire::cannotStart);
    serve();
    _exit(0);   // what libraries would tidy up ends with the process
}
