#include "Vellomir/Pictures/PictureGeometry.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <limits>
#include <vector>

namespace vellomir {
namespace {

/// Sums of a pixel's channels. With alpha, the colours are multiplied by it. 64 bits hold the sums
/// of 2^32 pixels of 16 bits a channel.
using Sums = std::array<std::uint64_t, 4>;

void add(Sums &sums, const Sums &more, std::uint64_t weight) {
    for (std::size_t channel = 0; channel < sums.size(); ++channel)
        sums[channel] += more[channel] * weight;
}

/// Goes along `from` pieces that shall become `to` larger ones, and divides those which are across
/// a border. Lengths are in fractions of a piece: a piece is `to` long, a larger one `from`.
class Division {
public:
    Division(std::uint64_t from, std::uint64_t to) : from_(from), to_(to), left_(from) {}

    /// Calls `add(length)` for each part of the next piece, and `finish()` where a larger one ends.
    template <typename Add, typename Finish>
    void next(const Add &add, const Finish &finish) {
        const std::uint64_t here = std::min(to_, left_);
        add(here);
        left_ -= here;
        if (left_ > 0)
            return;
        finish();
        left_ = from_;
        if (here == to_)
            return;
        add(to_ - here);
        left_ -= to_ - here;
    }

private:
    std::uint64_t from_;
    std::uint64_t to_;
    std::uint64_t left_; ///< of the larger piece
};

/// The pixels together. A variable for each channel: compilers keep an array in memory.
template <typename Channel, bool hasAlpha>
Sums sum(const Channel *pixels, std::uint64_t count) {
    std::uint64_t red = 0;
    std::uint64_t green = 0;
    std::uint64_t blue = 0;
    std::uint64_t alpha = 0;
    for (const Channel *const end = pixels + 4 * count; pixels != end; pixels += 4) {
        const std::uint32_t weight = hasAlpha ? pixels[3] : 1U;
        red += pixels[0] * weight;
        green += pixels[1] * weight;
        blue += pixels[2] * weight;
        alpha += weight;
    }
    return {red, green, blue, alpha};
}

/// One row of the bitmap, summed up into as many pixels as `row` has. The same division as above,
/// with the pixels that are not divided taken together: here the time goes.
template <typename Channel, bool hasAlpha>
void sumRow(const Channel *pixels, std::size_t width, std::vector<Sums> &row) {
    const std::uint64_t length = row.size();
    std::uint64_t done = 0; // of the pixel that the last border went through
    for (Sums &target : row) {
        target = {};
        std::uint64_t left = width;
        if (done > 0) {
            add(target, sum<Channel, hasAlpha>(pixels, 1), length - done);
            left -= length - done;
            pixels += 4;
        }
        const std::uint64_t whole = left / length;
        add(target, sum<Channel, hasAlpha>(pixels, whole), length);
        pixels += 4 * whole;
        done = left % length;
        if (done > 0)
            add(target, sum<Channel, hasAlpha>(pixels, 1), done);
    }
}

std::byte divided(std::uint64_t sum, std::uint64_t weight) {
    return weight == 0 ? std::byte{0} : static_cast<std::byte>((sum + weight / 2) / weight);
}

/// The averages in 8 bits. `area` is how much one pixel of the result covers.
template <typename Channel, bool hasAlpha>
void writeRow(const std::vector<Sums> &row, std::uint64_t area, std::byte *target) {
    constexpr std::uint64_t depth = std::numeric_limits<Channel>::max() / 255U;
    for (const Sums &sums : row) {
        for (std::size_t channel = 0; channel < 3; ++channel)
            *target++ = divided(sums[channel], sums[3] * depth);
        *target++ = hasAlpha ? divided(sums[3], area * depth) : std::byte{255};
    }
}

template <typename Channel, bool hasAlpha>
void scale(const Bitmap &bitmap, std::size_t width, std::size_t height, std::byte *target) {
    const auto sourceWidth = static_cast<std::size_t>(bitmap.width);
    const auto sourceHeight = static_cast<std::size_t>(bitmap.height);
    std::vector<Sums> row(width);
    std::vector<Sums> rows(width);
    Division division(sourceHeight, height);
    const std::byte *source = bitmap.pixels.get();
    for (std::size_t y = 0; y < sourceHeight; ++y, source += bitmap.bytesPerRow) {
        sumRow<Channel, hasAlpha>(reinterpret_cast<const Channel *>(source), sourceWidth, row);
        division.next(
            [&](std::uint64_t length) {
                for (std::size_t x = 0; x < width; ++x)
                    add(rows[x], row[x], length);
            },
            [&] {
                writeRow<Channel, hasAlpha>(rows, sourceWidth * sourceHeight, target);
                target += 4 * width;
                std::fill(rows.begin(), rows.end(), Sums{});
            });
    }
}

std::size_t inProportion(int side, int longSide, int maximumSide) {
    const std::int64_t rounded =
        (2 * std::int64_t{side} * maximumSide + longSide) / (2 * std::int64_t{longSide});
    return static_cast<std::size_t>(std::max<std::int64_t>(1, rounded));
}

} // namespace

Bitmap scaledToFit(const Bitmap &bitmap, int maximumSide) {
    const int longSide = std::max(bitmap.width, bitmap.height);
    const int side = std::clamp(maximumSide, 1, std::max(1, longSide));
    if (!bitmap.pixels || (side == longSide && !bitmap.isDeep))
        return bitmap;
    const std::size_t width = inProportion(bitmap.width, longSide, side);
    const std::size_t height = inProportion(bitmap.height, longSide, side);
    const std::size_t bytesPerRow = static_cast<std::size_t>(width) * 4;
    const auto pixels =
        std::make_shared<std::vector<std::byte>>(bytesPerRow * static_cast<std::size_t>(height));
    if (bitmap.isDeep)
        (bitmap.hasAlpha ? scale<std::uint16_t, true>
                         : scale<std::uint16_t, false>)(bitmap, width, height, pixels->data());
    else
        (bitmap.hasAlpha ? scale<std::uint8_t, true>
                         : scale<std::uint8_t, false>)(bitmap, width, height, pixels->data());
    return {.width = static_cast<int>(width),
            .height = static_cast<int>(height),
            .hasAlpha = bitmap.hasAlpha,
            .bytesPerRow = 4 * width,
            .pixels = {pixels, pixels->data()}};
}

} // namespace vellomir
