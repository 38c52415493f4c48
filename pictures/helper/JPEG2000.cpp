#include "pictures/helper/Formats.h"
#include "pictures/helper/Owned.h"

#include <algorithm>
#include <cstring>

#include <openjpeg.h>

namespace ostrel::pictures {
namespace {

void release(opj_codestream_info_v2_t* info) { opj_destroy_cstr_info(&info); }

struct Source {
    ByteView bytes;
    std::size_t at = 0;
    std::size_t left() const { return bytes.size() - at; }
};

OPJ_SIZE_T readSome(void* to, OPJ_SIZE_T count, void* user) {
    auto& source = *static_cast<Source*>(user);
    const auto got = std::min(count, source.left());
    if (got == 0) return static_cast<OPJ_SIZE_T>(-1);   // the end
    std::memcpy(to, source.bytes.data() + source.at, got);
    source.at += got;
    return got;
}

OPJ_OFF_T skipSome(OPJ_OFF_T count, void* user) {
    auto& source = *static_cast<Source*>(user);
    if (count < 0 || static_cast<std::size_t>(count) > source.left()) return -1;
    source.at += static_cast<std::size_t>(count);
    return count;
}

OPJ_BOOL seekTo(OPJ_OFF_T offset, void* user) {
    auto& source = *static_cast<Source*>(user);
    if (offset < 0 || static_cast<std::size_t>(offset) > source.bytes.size()) return OPJ_FALSE;
    source.at = static_cast<std::size_t>(offset);
    return OPJ_TRUE;
}

// One component's values at a pixel of the whole picture, as 8 bits. Components may be stored smaller than the picture.
unsigned char sample(const opj_image_comp_t& component, std::uint32_t x, std::uint32_t y) {
    const auto column = std::min(x / component.dx, component.w - 1), row = std::min(y / component.dy, component.h - 1);
    std::int64_t value = component.data[std::size_t{row} * component.w + column];
    if (component.sgnd) value += std::int64_t{1} << (component.prec - 1);
    const auto most = (std::int64_t{1} << component.prec) - 1;
    return static_cast<unsigned char>((std::clamp<std::int64_t>(value, 0, most) * 255 + most / 2) / most);
}

// ITU-T T.871 §7
void yCbCrToRGB(unsigned char* pixel) {
    const double y = pixel[0], cb = pixel[1] - 128.0, cr = pixel[2] - 128.0;
    const double rgb[] = {y + 1.402 * cr, y - 0.344136 * cb - 0.714136 * cr, y + 1.772 * cb};
    for (int i = 0; i < 3; ++i) pixel[i] = static_cast<unsigned char>(std::clamp(rgb[i] + 0.5, 0.0, 255.0));
}

bool isLossy(opj_codec_t* codec) {
    const Owned<opj_codestream_info_v2_t, release> info(opj_get_cstr_info(codec));
    return info && info->m_default_tile_info.tccp_info && info->m_default_tile_info.tccp_info->qmfbid == 0;
}

Pixels pixelsOf(const opj_image_t& image) {
    const auto channels = std::min<std::size_t>(image.numcomps, 4);
    auto pixels = blank(image.x1 - image.x0, image.y1 - image.y0, channels);
    for (std::size_t each = 0; each < channels; ++each) {
        const auto& component = image.comps[each];
        if (!component.data || component.w == 0 || component.h == 0 || component.dx == 0 || component.dy == 0 ||
            component.prec == 0 || component.prec > 32)
            throw NotAPicture("a damaged component");
        for (std::uint32_t y = 0; y < pixels.height; ++y)
            for (std::uint32_t x = 0; x < pixels.width; ++x)
                pixels.row(y)[x * channels + each] = sample(component, x, y);
    }
    const bool isYCC = image.color_space == OPJ_CLRSPC_SYCC || image.color_space == OPJ_CLRSPC_EYCC;
    if (isYCC && channels >= 3)
        for (std::size_t at = 0; at < pixels.bytes.size(); at += channels)
            yCbCrToRGB(reinterpret_cast<unsigned char*>(pixels.bytes.data()) + at);
    return pixels;
}

}   // namespace

Pixels decodeJPEG2000(ByteView picture) {
    const bool isBare = charsOf(picture).starts_with("\xFF\x4F");
    const Owned<opj_codec_t, opj_destroy_codec> codec(opj_create_decompress(isBare ? OPJ_CODEC_J2K : OPJ_CODEC_JP2));
    Source source{picture};
    const Owned<opj_stream_t, opj_stream_destroy> stream(opj_stream_default_create(OPJ_TRUE));
    opj_stream_set_user_data(stream.get(), &source, nullptr);
    opj_stream_set_user_data_length(stream.get(), picture.size());
    opj_stream_set_read_function(stream.get(), readSome);
    opj_stream_set_skip_function(stream.get(), skipSome);
    opj_stream_set_seek_function(stream.get(), seekTo);
    opj_dparameters_t parameters;
    opj_set_default_decoder_parameters(&parameters);
    if (!opj_setup_decoder(codec.get(), &parameters)) throw NotAPicture("no decoder");

    opj_image_t* raw = nullptr;
    const bool isRead = opj_read_header(stream.get(), codec.get(), &raw) == OPJ_TRUE;
    const Owned<opj_image_t, opj_image_destroy> image(raw);
    if (!isRead || image->x1 <= image->x0 || image->y1 <= image->y0) throw NotAPicture("no JPEG 2000");
    checkSize(image->x1 - image->x0, image->y1 - image->y0);   // judged before the decoder takes memory
    if (!opj_decode(codec.get(), stream.get(), image.get()) || !opj_end_decompress(codec.get(), stream.get()))
        throw NotAPicture("a damaged JPEG 2000");
    if (image->color_space == OPJ_CLRSPC_CMYK || image->numcomps == 0) throw NotAPicture("colours for printers");
    auto pixels = pixelsOf(*image);
    if (image->icc_profile_buf && image->icc_profile_len > 0 && pixels.channels >= 3)
        pixels.profile.assign(reinterpret_cast<const char*>(image->icc_profile_buf), image->icc_profile_len);
    pixels.isLossy = isLossy(codec.get());
    return pixels;
}

}   // namespace ostrel::pictures
