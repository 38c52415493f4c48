#include "pictures/helper/Formats.h"
#include "pictures/helper/Owned.h"

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
    const Owned<WebPDemuxer, WebPDemuxDelete> file(WebPDemux(&data));
    if (!file) throw NotAPicture("not a WebP");
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
    if (!WebPDecodeRGBAInto(frame.fragment.bytes, frame.fragment.size, to,
                            pixels.bytes.size() - static_cast<std::size_t>(to - pixels.row(0)),
                            static_cast<int>(width * 4)))
        throw NotAPicture("cut short");
    pixels.isLossy = features.format == lossy;
    pixels.profile = profileOf(file.get());
    return pixels;
}

}   // namespace ostrel::pictures
