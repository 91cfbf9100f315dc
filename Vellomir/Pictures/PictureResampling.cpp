#include "Vellomir/Pictures/PictureGeometry.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <numbers>
#include <vector>

namespace vellomir {
namespace {

constexpr double lobes = 3; ///< of the Lanczos filter, on each side

double lanczos(double distance) {
    if (distance == 0)
        return 1;
    if (std::abs(distance) >= lobes)
        return 0;
    const double angle = std::numbers::pi * distance;
    return lobes * std::sin(angle) * std::sin(angle / lobes) / (angle * angle);
}

/// The old pixels that make one new pixel, in one direction.
struct Window {
    std::size_t first = 0;
    std::vector<double> weights; ///< of the old pixels from the first on; their sum is 1
};

Window windowOf(std::size_t target, std::size_t from, std::size_t to) {
    const double ratio = static_cast<double>(from) / static_cast<double>(to);
    const double stretch = std::max(1.0, ratio); // reducing widens the filter
    const double centre = (static_cast<double>(target) + 0.5) * ratio;
    const double first = std::max(0.0, std::floor(centre - lobes * stretch));
    const double last = std::min(static_cast<double>(from), std::ceil(centre + lobes * stretch));
    Window window{.first = static_cast<std::size_t>(first), .weights = {}};
    double sum = 0;
    for (double position = first; position < last; ++position) {
        window.weights.push_back(lanczos((position + 0.5 - centre) / stretch));
        sum += window.weights.back();
    }
    for (double &weight : window.weights)
        weight /= sum;
    return window;
}

std::vector<Window> windows(std::size_t from, std::size_t to) {
    std::vector<Window> all;
    for (std::size_t target = 0; target < to; ++target)
        all.push_back(windowOf(target, from, to));
    return all;
}

/// Red, green, blue, each multiplied by alpha, and alpha: each from 0 to 1.
using Colour = std::array<double, 4>;

Colour weighted(const Colour *colours, std::size_t step, const std::vector<double> &weights) {
    Colour sum{};
    for (const double weight : weights) {
        for (std::size_t channel = 0; channel < sum.size(); ++channel)
            sum[channel] += weight * (*colours)[channel];
        colours += step;
    }
    return sum;
}

/// The pixels of a square with 8 bits a channel.
std::vector<Colour> coloursOf(const Bitmap &square) {
    const auto side = static_cast<std::size_t>(square.width);
    std::vector<Colour> colours;
    colours.reserve(side * side);
    for (std::size_t y = 0; y < side; ++y) {
        const std::byte *pixel = square.pixels.get() + y * square.bytesPerRow;
        for (std::size_t x = 0; x < side; ++x, pixel += 4) {
            const auto channel = [pixel](std::size_t index) {
                return std::to_integer<unsigned>(pixel[index]) / 255.0;
            };
            const double alpha = square.hasAlpha ? channel(3) : 1;
            colours.push_back({channel(0) * alpha, channel(1) * alpha, channel(2) * alpha, alpha});
        }
    }
    return colours;
}

/// Scales the rows and then the columns.
std::vector<Colour> resampled(const std::vector<Colour> &square, std::size_t from, std::size_t to) {
    const std::vector<Window> all = windows(from, to);
    std::vector<Colour> rows;
    rows.reserve(from * to);
    for (std::size_t y = 0; y < from; ++y)
        for (const Window &window : all)
            rows.push_back(weighted(&square[y * from + window.first], 1, window.weights));
    std::vector<Colour> result;
    result.reserve(to * to);
    for (const Window &window : all)
        for (std::size_t x = 0; x < to; ++x)
            result.push_back(weighted(&rows[window.first * to + x], to, window.weights));
    return result;
}

/// The filter overshoots at edges, so the values are limited.
std::byte channelByte(double value) {
    return static_cast<std::byte>(std::lround(std::clamp(value, 0.0, 1.0) * 255));
}

/// Colours are divided by the alpha as the filter gave it, which may be above 1.
void appendPixel(std::vector<std::byte> &pixels, const Colour &colour) {
    const std::byte alpha = channelByte(colour[3]);
    for (std::size_t channel = 0; channel < 3; ++channel)
        pixels.push_back(alpha == std::byte{0} ? alpha : channelByte(colour[channel] / colour[3]));
    pixels.push_back(alpha);
}

} // namespace

Bitmap scaledToSquare(const Bitmap &bitmap, int side) {
    if (!bitmap.pixels)
        return bitmap;
    const int shortSide = std::min(bitmap.width, bitmap.height);
    const Bitmap square = cropped(bitmap, (bitmap.width - shortSide) / 2,
                                  (bitmap.height - shortSide) / 2, shortSide, shortSide);
    // Averages first: what is left to the filter has a bounded size, and 8 bits a channel.
    const Bitmap small = scaledToFit(square, 4 * side);
    const auto from = static_cast<std::size_t>(small.width);
    const auto to = static_cast<std::size_t>(side);
    const auto pixels = std::make_shared<std::vector<std::byte>>();
    for (const Colour &colour : resampled(coloursOf(small), from, to))
        appendPixel(*pixels, colour);
    return {.width = side,
            .height = side,
            .hasAlpha = bitmap.hasAlpha,
            .bytesPerRow = 4 * to,
            .pixels = {pixels, pixels->data()}};
}

} // namespace vellomir
