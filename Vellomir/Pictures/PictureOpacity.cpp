#include "Vellomir/Pictures/PictureGeometry.h"

#include <cstdint>
#include <limits>
#include <vector>

namespace vellomir {
namespace {

/// Writes the row in front of white.
template <typename Channel>
void flattenRow(const Channel *source, int width, Channel *target) {
    constexpr std::uint64_t most = std::numeric_limits<Channel>::max();
    for (int x = 0; x < width; ++x, source += 4) {
        const std::uint64_t alpha = source[3];
        for (std::size_t channel = 0; channel < 3; ++channel)
            *target++ = static_cast<Channel>(
                (source[channel] * alpha + most * (most - alpha) + most / 2) / most);
        *target++ = static_cast<Channel>(most);
    }
}

template <typename Channel>
void flatten(const Bitmap &bitmap, std::byte *target) {
    const std::byte *source = bitmap.pixels.get();
    const std::size_t bytesPerRow = static_cast<std::size_t>(bitmap.width) * 4 * sizeof(Channel);
    for (int y = 0; y < bitmap.height; ++y) {
        flattenRow(reinterpret_cast<const Channel *>(source), bitmap.width,
                   reinterpret_cast<Channel *>(target));
        source += bitmap.bytesPerRow;
        target += bytesPerRow;
    }
}

} // namespace

Bitmap withoutAlpha(const Bitmap &bitmap) {
    if (!bitmap.pixels || !bitmap.hasAlpha)
        return bitmap;
    Bitmap result = bitmap;
    result.hasAlpha = false;
    result.bytesPerRow = static_cast<std::size_t>(bitmap.width) * bitmap.bytesPerPixel();
    const auto pixels = std::make_shared<std::vector<std::byte>>(
        result.bytesPerRow * static_cast<std::size_t>(bitmap.height));
    if (bitmap.isDeep)
        flatten<std::uint16_t>(bitmap, pixels->data());
    else
        flatten<std::uint8_t>(bitmap, pixels->data());
    result.pixels = {pixels, pixels->data()};
    return result;
}

} // namespace vellomir
