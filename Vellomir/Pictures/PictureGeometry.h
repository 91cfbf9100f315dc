#pragma once

#include "Vellomir/Pictures/Picture.h"

namespace vellomir {

/// The bitmap as it is to be displayed. The same pixels if it is upright already.
[[nodiscard]] Bitmap upright(const Bitmap &bitmap, Orientation orientation);

/// A part of the bitmap, which shares its pixels. It must be within.
[[nodiscard]] Bitmap cropped(const Bitmap &bitmap, int x, int y, int width, int height);

/// The bitmap in small, for a preview: not larger than `maximumSide` in either direction, in the
/// same proportions, 8 bits a channel; at least one pixel. Every pixel is the average of the area
/// that it covers, where transparent pixels count as much as they show. Never enlarges: what is
/// small enough keeps its size, and its pixels if they have 8 bits. Linear time.
[[nodiscard]] Bitmap scaledToFit(const Bitmap &bitmap, int maximumSide);

/// The centred square of the bitmap with this side, which is at least 1; 8 bits a channel. Enlarges
/// and reduces with a Lanczos filter; transparent pixels count as much as they show.
[[nodiscard]] Bitmap scaledToSquare(const Bitmap &bitmap, int side);

/// The bitmap in front of white, without alpha. The same pixels if it has none already.
[[nodiscard]] Bitmap withoutAlpha(const Bitmap &bitmap);

} // namespace vellomir
