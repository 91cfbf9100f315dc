#include "Vellomir/Platform/HevcDecoder.h"

#include "Vellomir/Platform/HevcUnit.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cstring>
#include <libde265/de265.h>
#include <libheif/heif.h>
#include <libheif/heif_plugin.h>
#include <limits>
#include <memory>
#include <span>

namespace vellomir {
namespace {

std::atomic<std::int64_t> pixelsOfEach{0};
std::atomic<std::int64_t> pixelsLeft{0};

constexpr heif_error success{heif_error_Ok, heif_suberror_Unspecified, "Success"};
constexpr heif_error damaged{heif_error_Decoder_plugin_error, heif_suberror_Unspecified,
                             "The coded picture is damaged"};
constexpr heif_error tooLarge{heif_error_Memory_allocation_error,
                              heif_suberror_Security_limit_exceeded,
                              "The coded picture is too large"};
constexpr heif_error notHevc{heif_error_Unsupported_feature, heif_suberror_Unsupported_codec,
                             "The picture is not coded with HEVC"};

/// One coded image: the whole, a tile or an alpha plane.
struct Decoder {
    de265_decoder_context *context = de265_new_decoder();
    std::int64_t pixels = 0; ///< of the largest picture that the stream tells

    Decoder() = default;
    ~Decoder() { de265_free_decoder(context); }
    Decoder(const Decoder &) = delete;
    Decoder &operator=(const Decoder &) = delete;
};

Decoder &decoder(void *pointer) {
    return *static_cast<Decoder *>(pointer);
}

heif_error newDecoder(void **result) {
    *result = std::make_unique<Decoder>().release();
    return success;
}

void freeDecoder(void *pointer) {
    const std::unique_ptr<Decoder> owner(static_cast<Decoder *>(pointer));
}

// --- Data -------------------------------------------------------------------------------------

/// Looks at the unit before the decoder does, which takes memory and time for any size.
heif_error pushUnit(Decoder &self, std::span<const std::byte> bytes) {
    const HevcUnit unit(bytes);
    if (!unit.isOfBaseLayer())
        return success;
    if (unit.isSequence()) {
        const auto pixels = unit.pixels();
        if (!pixels)
            return damaged;
        self.pixels = std::max(self.pixels, *pixels);
        if (self.pixels > pixelsOfEach)
            return tooLarge;
    }
    if (unit.beginsPicture() && pixelsLeft.fetch_sub(self.pixels) < self.pixels)
        return tooLarge;
    de265_push_NAL(self.context, bytes.data(), static_cast<int>(bytes.size()), 0, nullptr);
    return success;
}

/// Units, each behind its size in four bytes.
heif_error pushData(void *pointer, const void *data, std::size_t size) {
    std::span bytes(static_cast<const std::byte *>(data), size);
    while (!bytes.empty()) {
        if (bytes.size() < 4)
            return damaged;
        std::size_t unit = 0;
        for (const std::byte byte : bytes.first(4))
            unit = unit << 8U | std::to_integer<std::size_t>(byte);
        if (unit > bytes.size() - 4 || unit > std::numeric_limits<int>::max())
            return damaged;
        const heif_error error = pushUnit(decoder(pointer), bytes.subspan(4, unit));
        if (error.code != heif_error_Ok)
            return error;
        bytes = bytes.subspan(4 + unit);
    }
    return success;
}

// --- Pictures ---------------------------------------------------------------------------------

using ImageOwner = std::unique_ptr<heif_image, decltype(&heif_image_release)>;

heif_error copyPlane(const de265_image *source, int plane, heif_image *target,
                     heif_channel channel) {
    const int width = de265_get_image_width(source, plane);
    const int height = de265_get_image_height(source, plane);
    const int bits = de265_get_bits_per_pixel(source, plane);
    const heif_error error = heif_image_add_plane(target, channel, width, height, bits);
    if (error.code != heif_error_Ok)
        return error;
    int sourceStride = 0;
    int targetStride = 0;
    const std::uint8_t *from = de265_get_image_plane(source, plane, &sourceStride);
    std::uint8_t *to = heif_image_get_plane(target, channel, &targetStride);
    const std::size_t rowSize = static_cast<std::size_t>(width) * (bits > 8 ? 2 : 1);
    for (int y = 0; y < height; ++y, from += sourceStride, to += targetStride)
        std::memcpy(to, from, rowSize);
    return success;
}

/// What the stream says of its colours; values that libheif doesn't know stay unspecified.
void copyColors(const de265_image *source, heif_image *target) {
    const std::unique_ptr<heif_color_profile_nclx, decltype(&heif_nclx_color_profile_free)> colors(
        heif_nclx_color_profile_alloc(), heif_nclx_color_profile_free);
    const auto value = [](int code) { return static_cast<std::uint16_t>(code); };
    heif_nclx_color_profile_set_color_primaries(colors.get(),
                                                value(de265_get_image_colour_primaries(source)));
    heif_nclx_color_profile_set_transfer_characteristics(
        colors.get(), value(de265_get_image_transfer_characteristics(source)));
    heif_nclx_color_profile_set_matrix_coefficients(
        colors.get(), value(de265_get_image_matrix_coefficients(source)));
    colors->full_range_flag = de265_get_image_full_range_flag(source) != 0;
    heif_image_set_nclx_color_profile(target, colors.get());
}

heif_error copyImage(const de265_image *source, heif_image **result) {
    constexpr std::array channels = {heif_channel_Y, heif_channel_Cb, heif_channel_Cr};
    const de265_chroma format = de265_get_chroma_format(source);
    const bool isGray = format == de265_chroma_mono;
    heif_image *made = nullptr;
    const heif_error error =
        heif_image_create(de265_get_image_width(source, 0), de265_get_image_height(source, 0),
                          isGray ? heif_colorspace_monochrome : heif_colorspace_YCbCr,
                          static_cast<heif_chroma>(format), &made);
    if (error.code != heif_error_Ok)
        return error;
    ImageOwner image(made, heif_image_release);
    for (int plane = 0; plane < (isGray ? 1 : 3); ++plane) {
        const heif_error copied =
            copyPlane(source, plane, made, channels.at(static_cast<std::size_t>(plane)));
        if (copied.code != heif_error_Ok)
            return copied;
    }
    copyColors(source, made);
    *result = image.release();
    return success;
}

/// The first picture of the stream.
heif_error decodeImage(void *pointer, heif_image **result) {
    Decoder &self = decoder(pointer);
    de265_flush_data(self.context);
    for (int more = 1; more != 0;) {
        more = 0;
        if (!de265_isOK(de265_decode(self.context, &more)))
            break;
        if (const de265_image *image = de265_get_next_picture(self.context))
            return copyImage(image, result);
    }
    return damaged;
}

// --- What libheif is told -----------------------------------------------------------------------

const char *name() {
    return "HEVC within limits";
}

constexpr int aboveAllOthers = 1000;

int hevcPriority(heif_compression_format format) {
    return format == heif_compression_HEVC ? aboveAllOthers : 0;
}

int otherPriority(heif_compression_format format) {
    return format == heif_compression_HEVC ? 0 : aboveAllOthers;
}

heif_error newOtherDecoder(void ** /*result*/) {
    return notHevc;
}

void setStrict(void * /*decoder*/, int /*flag*/) {}

} // namespace

void installHevcDecoder() {
    static constexpr heif_decoder_plugin hevc{
        .plugin_api_version = 3,
        .get_plugin_name = name,
        .init_plugin = nullptr,
        .deinit_plugin = nullptr,
        .does_support_format = hevcPriority,
        .new_decoder = newDecoder,
        .free_decoder = freeDecoder,
        .push_data = pushData,
        .decode_image = decodeImage,
        .set_strict_decoding = setStrict,
        .id_name = "vellomir-hevc",
    };
    static constexpr heif_decoder_plugin others = [] {
        heif_decoder_plugin plugin = hevc;
        plugin.does_support_format = otherPriority;
        plugin.new_decoder = newOtherDecoder;
        plugin.id_name = "vellomir-others";
        return plugin;
    }();
    heif_register_decoder_plugin(&hevc);
    heif_register_decoder_plugin(&others);
}

void allowHevcPixels(std::int64_t each, std::int64_t together) {
    pixelsOfEach = each;
    pixelsLeft = together;
}

} // namespace vellomir
