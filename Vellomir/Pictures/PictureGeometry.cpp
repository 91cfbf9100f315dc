#include "Vellomir/Pictures/PictureGeometry.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

namespace vellomir {
namespace {

/// Where the pixels of a turned bitmap come from: first the axes are exchanged, then the stored
/// bitmap is walked from the other side.
struct Turn {
    bool exchangesAxes = false;
    bool fromRight = false;
    bool fromBottom = false;
};

Turn turn(Orientation orientation) {
    switch (orientation) {
    case Orientation::up:
        return {};
    case Orientation::upMirrored:
        return {.fromRight = true};
    case Orientation::down:
        return {.fromRight = true, .fromBottom = true};
    case Orientation::downMirrored:
        return {.fromBottom = true};
    case Orientation::leftMirrored:
        return {.exchangesAxes = true};
    case Orientation::right:
        return {.exchangesAxes = true, .fromBottom = true};
    case Orientation::rightMirrored:
        return {.exchangesAxes = true, .fromRight = true, .fromBottom = true};
    case Orientation::left:
        return {.exchangesAxes = true, .fromRight = true};
    }
    return {};
}

std::size_t offset(const Bitmap &bitmap, int x, int y) {
    return static_cast<std::size_t>(y) * bitmap.bytesPerRow +
           static_cast<std::size_t>(x) * bitmap.bytesPerPixel();
}

[[noreturn]] void stop(const char *why) {
    std::fprintf(stderr, "Fatal error: %s\n", why);
    std::abort();
}

} // namespace

Bitmap upright(const Bitmap &bitmap, Orientation orientation) {
    if (orientation == Orientation::up)
        return bitmap;
    const Turn turned = turn(orientation);
    Bitmap result = bitmap;
    if (turned.exchangesAxes)
        std::swap(result.width, result.height);
    result.bytesPerRow = static_cast<std::size_t>(result.width) * result.bytesPerPixel();
    const auto pixels = std::make_shared<std::vector<std::byte>>(
        result.bytesPerRow * static_cast<std::size_t>(result.height));
    std::byte *target = pixels->data();
    for (int y = 0; y < result.height; ++y)
        for (int x = 0; x < result.width; ++x, target += result.bytesPerPixel()) {
            const int column = turned.exchangesAxes ? y : x;
            const int row = turned.exchangesAxes ? x : y;
            const std::byte *source =
                bitmap.pixels.get() + offset(bitmap,
                                             turned.fromRight ? bitmap.width - 1 - column : column,
                                             turned.fromBottom ? bitmap.height - 1 - row : row);
            std::memcpy(target, source, result.bytesPerPixel());
        }
    result.pixels = std::shared_ptr<const std::byte>(pixels, pixels->data());
    return result;
}

Bitmap cropped(const Bitmap &bitmap, int x, int y, int width, int height) {
    Bitmap result = bitmap;
    result.width = width;
    result.height = height;
    result.pixels =
        std::shared_ptr<const std::byte>(bitmap.pixels, bitmap.pixels.get() + offset(bitmap, x, y));
    return result;
}

Picture cropImageToSquare(const Picture &image) {
    if (!image.hasBitmap())
        stop("a picture without a bitmap cannot be cropped");
    const Bitmap &bitmap = image.bitmap();
    const int side = std::min(bitmap.width, bitmap.height);
    if (side <= 0)
        stop("an empty bitmap cannot be cropped");
    Bitmap square =
        cropped(bitmap, (bitmap.width - side) / 2, (bitmap.height - side) / 2, side, side);
    return Picture(std::move(square), image.scale(), image.orientation());
}

} // namespace vellomir
