#include "pictures/helper/Formats.h"
#include "pictures/helper/Owned.h"

#include <new>

#include <webp/decode.h>
#include <webp/demux.h>

namespace ostrel::pictures {
namespace {

std::string profileOf(const WebPDemuxer* file) {
    WebPChunkIterator chunk;
    if (WebPDemuxGetChunk(file, "ICCP", 1, &chunk) == 0) return {};
    std::string profile(reinterpret_cast<const char*>(chunk.chunk.bytes), chunk.chunk.size);
    WebPDemuxReleaseChunkIterator(&chunk);
    return profile;
}

}   // namespace

// The first picture of an animation.
Pixels decodeWebP(ByteView picture) {
    const WebPData data{reinterpret_cast<const std::uint8_t*>(picture.data()), picture.size()};
    WebPDemuxState state = WEBP_DEMUX_PARSING_HEADER;
    const Owned<WebPDemuxer, WebPDemuxDelete> file(WebPDemuxPartial(&data, &state));
    if (!file || state == WEBP_DEMUX_PARSING_HEADER) throw NotAPicture("not a WebP");
    const auto width = WebPDemuxGetI(file.get(), WEBP_FF_CANVAS_WIDTH);
    const auto height = WebPDemuxGetI(file.get(), WEBP_FF_CANVAS_HEIGHT);
    checkSize(width, height);
    WebPIterator frame;
    if (WebPDemuxGetFrame(file.get(), 1, &frame) == 0) throw NotAPicture("no picture");
    const Owned<WebPIterator, WebPDemuxReleaseIterator> owned(&frame);
    if (frame.x_offset < 0 || frame.y_offset < 0 || frame.width <= 0 || frame.height <= 0 ||
        static_cast<std::uint32_t>(frame.x_offset + frame.width) > width ||
        static_cast<std::uint32_t>(frame.y_offset + frame.height) > height)
        throw NotAPicture("no picture within its canvas");
    WebPBitstreamFeatures features{};
    if (WebPGetFeatures(frame.fragment.bytes, frame.fragment.size, &features) != VP8_STATUS_OK)
        throw NotAPicture("no features");
    constexpr int lossy = 1;
    auto pixels = blank(width, height, 4);
    auto* const to = pixels.row(static_cast<std::size_t>(frame.y_offset)) + frame.x_offset * 4;
    const Owned<WebPIDecoder, WebPIDelete> decoder(
        WebPINewRGB(MODE_RGBA, to, pixels.bytes.size() - static_cast<std::size_t>(to - pixels.row(0)),
                    static_cast<int>(width * 4)));
    if (!decoder) throw std::bad_alloc();
    const auto status = WebPIAppend(decoder.get(), frame.fragment.bytes, frame.fragment.size);
    int rows = 0;
    WebPIDecGetRGB(decoder.get(), &rows, nullptr, nullptr, nullptr);
    if ((status != VP8_STATUS_OK && status != VP8_STATUS_SUSPENDED) || rows == 0) throw NotAPicture("not one row");
    pixels.isLossy = features.format == lossy;
    pixels.profile = profileOf(file.get());
    return pixels;
}

}   // namespace ostrel::pictures
