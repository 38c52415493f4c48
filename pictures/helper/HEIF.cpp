#include "pictures/helper/Formats.h"
#include "pictures/helper/Owned.h"

#include <cstring>

#include <libheif/heif.h>

namespace ostrel::pictures {
namespace {

using Context = Owned<heif_context, heif_context_free>;
using Handle = Owned<heif_image_handle, heif_image_handle_release>;
using Options = Owned<heif_decoding_options, heif_decoding_options_free>;
using Image = Owned<heif_image, heif_image_release>;

void check(const heif_error& error) {
    if (error.code == heif_error_Memory_allocation_error) throw TooLarge();
    if (error.code != heif_error_Ok) throw NotAPicture(error.message);
}

std::string profileOf(const heif_image_handle* handle) {
    std::string profile(heif_image_handle_get_raw_color_profile_size(handle), '\0');
    if (!profile.empty()) check(heif_image_handle_get_raw_color_profile(handle, profile.data()));
    return profile;
}

}   // namespace

Pixels decodeHEIF(ByteView picture) {
    const Context context(heif_context_alloc());
    check(heif_context_read_from_memory_without_copy(context.get(), picture.data(), picture.size(), nullptr));
    heif_image_handle* rawHandle = nullptr;
    check(heif_context_get_primary_image_handle(context.get(), &rawHandle));
    const Handle handle(rawHandle);
    const bool hasAlpha = heif_image_handle_has_alpha_channel(handle.get()) != 0;
    // Judged before the decoder takes memory; the true size is known when it has turned and cropped the picture.
    const int stated[] = {heif_image_handle_get_width(handle.get()), heif_image_handle_get_height(handle.get())};
    if (stated[0] <= 0 || stated[1] <= 0) throw NotAPicture("no size");
    checkSize(static_cast<unsigned>(stated[0]), static_cast<unsigned>(stated[1]));

    const Options options(heif_decoding_options_alloc());
    options->convert_hdr_to_8bit = 1;
    heif_image* rawImage = nullptr;
    check(heif_decode_image(handle.get(), &rawImage, heif_colorspace_RGB,
                            hasAlpha ? heif_chroma_interleaved_RGBA : heif_chroma_interleaved_RGB, options.get()));
    const Image image(rawImage);
    int stride = 0;
    const auto* const plane = heif_image_get_plane_readonly(image.get(), heif_channel_interleaved, &stride);
    const int width = heif_image_get_width(image.get(), heif_channel_interleaved);
    const int height = heif_image_get_height(image.get(), heif_channel_interleaved);
    if (!plane || width <= 0 || height <= 0) throw NotAPicture("no pixels");
    auto pixels = blank(static_cast<unsigned>(width), static_cast<unsigned>(height), hasAlpha ? 4 : 3);
    for (int y = 0; y < height; ++y)
        std::memcpy(pixels.row(static_cast<std::size_t>(y)), plane + std::ptrdiff_t{y} * stride,
                    pixels.width * pixels.channels);
    pixels.profile = profileOf(handle.get());
    pixels.isLossy = true;
    return pixels;
}

}   // namespace ostrel::pictures
