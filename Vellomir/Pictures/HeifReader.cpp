#include "Vellomir/Pictures/PictureBytes.h"
#include "Vellomir/Pictures/PictureReaders.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <libheif/heif.h>
#include <limits>

namespace vellomir {
namespace {

using Context = std::unique_ptr<heif_context, decltype(&heif_context_free)>;
using Handle = std::unique_ptr<const heif_image_handle, decltype(&heif_image_handle_release)>;
using Image = std::shared_ptr<heif_image>;

/// libheif counts the bytes of an image in 32 bits with a sign. Parts of a file can state other
/// sizes than the whole, and of them it only limits the sides.
constexpr int longestSide = 23'000;

/// The same for 8 bytes a pixel. Larger pictures come with 8 bits a channel.
constexpr int longestDeepSide = 16'000;

void require(const heif_error &error) {
    if (error.code == heif_error_Memory_allocation_error)
        throw PictureFault("The picture is larger than it says, or than can be read");
    if (error.code == heif_error_Unsupported_feature)
        throw PictureFault("The picture uses a kind of HEIF that cannot be read");
    if (error.code != heif_error_Ok)
        throw PictureFault("The picture is damaged or cut short");
}

/// The pixels of an image, four channels of type `Channel` each.
template <typename Channel>
class Pixels {
public:
    explicit Pixels(heif_image *image)
        : width_(static_cast<std::size_t>(heif_image_get_width(image, heif_channel_interleaved))),
          height_(heif_image_get_height(image, heif_channel_interleaved)),
          start_(heif_image_get_plane(image, heif_channel_interleaved, &stride_)) {}

    template <typename Change>
    void forEach(const Change &change) const {
        std::uint8_t *row = start_;
        for (int y = 0; y < height_; ++y, row += stride_) {
            auto *const pixels = reinterpret_cast<Channel *>(row);
            for (std::size_t x = 0; x < width_; ++x)
                change(pixels + 4 * x);
        }
    }

private:
    int stride_ = 0;
    std::size_t width_;
    int height_;
    std::uint8_t *start_;
};

/// From as many bits as there are to 16: the highest value becomes the highest.
void widen(heif_image *image) {
    const int bits = heif_image_get_bits_per_pixel_range(image, heif_channel_interleaved);
    const unsigned highest = (1U << static_cast<unsigned>(bits)) - 1;
    Pixels<std::uint16_t>(image).forEach([highest](std::uint16_t *pixel) {
        for (int channel = 0; channel < 4; ++channel) {
            const std::uint32_t value = std::min<std::uint32_t>(pixel[channel], highest);
            pixel[channel] = static_cast<std::uint16_t>((value * 65'535U + highest / 2) / highest);
        }
    });
}

/// Takes alpha out of the colours.
template <typename Channel>
void divideByAlpha(heif_image *image) {
    constexpr std::uint32_t opaque = std::numeric_limits<Channel>::max();
    Pixels<Channel>(image).forEach([](Channel *pixel) {
        const std::uint32_t alpha = pixel[3];
        if (alpha == 0 || alpha == opaque)
            return;
        for (int channel = 0; channel < 3; ++channel) {
            const std::uint32_t color = std::min<std::uint32_t>(pixel[channel], alpha);
            pixel[channel] = static_cast<Channel>((color * opaque + alpha / 2) / alpha);
        }
    });
}

/// The bitmap keeps the image.
Bitmap bitmapOf(const Image &image, bool isDeep, bool hasAlpha) {
    int stride = 0;
    const std::uint8_t *pixels =
        heif_image_get_plane_readonly(image.get(), heif_channel_interleaved, &stride);
    return {.width = heif_image_get_width(image.get(), heif_channel_interleaved),
            .height = heif_image_get_height(image.get(), heif_channel_interleaved),
            .isDeep = isDeep,
            .hasAlpha = hasAlpha,
            .bytesPerRow = static_cast<std::size_t>(stride),
            .pixels = {image, reinterpret_cast<const std::byte *>(pixels)}};
}

constexpr heif_chroma deepChroma = std::endian::native == std::endian::little
                                       ? heif_chroma_interleaved_RRGGBBAA_LE
                                       : heif_chroma_interleaved_RRGGBBAA_BE;

/// Upright: libheif turns and crops as the file says. What EXIF says of it is for information.
DecodedPicture decode(const heif_image_handle *handle, bool isDeep) {
    const std::unique_ptr<heif_decoding_options, decltype(&heif_decoding_options_free)> options(
        heif_decoding_options_alloc(), heif_decoding_options_free);
    options->convert_hdr_to_8bit = !isDeep;
    heif_image *result = nullptr;
    const heif_error error =
        heif_decode_image(handle, &result, heif_colorspace_RGB,
                          isDeep ? deepChroma : heif_chroma_interleaved_RGBA, options.get());
    const Image image(result, heif_image_release);
    require(error);
    const bool hasAlpha = heif_image_handle_has_alpha_channel(handle) != 0;
    if (isDeep)
        widen(result);
    if (hasAlpha && heif_image_handle_is_premultiplied_alpha(handle) != 0)
        (isDeep ? divideByAlpha<std::uint16_t> : divideByAlpha<std::uint8_t>)(result);
    return {.bitmap = bitmapOf(image, isDeep, hasAlpha)};
}

/// The longer side, in pixels.
int requireSize(const heif_image_handle *primary, std::size_t fileSize,
                const DecodingOptions &options, const BeforePixels &beforePixels) {
    const std::int64_t width = heif_image_handle_get_ispe_width(primary);
    const std::int64_t height = heif_image_handle_get_ispe_height(primary);
    const auto side = std::max(width, height);
    if (side > longestSide && width * height <= maximumPixels)
        throw PictureFault("A side of the picture is longer than 23,000 pixels");
    requirePixelCount(width * height, fileSize, options);
    beforePixels(width * height);
    return static_cast<int>(side);
}

} // namespace

DecodedPicture readWithHeif(std::span<const std::byte> bytes, const DecodingOptions &options,
                            const BeforePixels &beforePixels) {
    const Context context(heif_context_alloc(), heif_context_free);
    heif_context_set_maximum_image_size_limit(context.get(), std::numeric_limits<int>::max());
    require(heif_context_read_from_memory_without_copy(context.get(), bytes.data(), bytes.size(),
                                                       nullptr));
    heif_image_handle *primary = nullptr;
    const heif_error error = heif_context_get_primary_image_handle(context.get(), &primary);
    const Handle handle(primary, heif_image_handle_release);
    require(error);
    const int side = requireSize(primary, bytes.size(), options, beforePixels);
    // A single tile may be larger than the whole.
    heif_context_set_maximum_image_size_limit(context.get(), std::max(side, longestDeepSide));
    return decode(primary, heif_image_handle_get_luma_bits_per_pixel(primary) > 8 &&
                               side <= longestDeepSide);
}

} // namespace vellomir
