#pragma once

#include "Vellomir/Platform/Picture.h"

namespace vellomir {

/// The bitmap as it is to be displayed. The same pixels if it stands upright already.
[[nodiscard]] Bitmap upright(const Bitmap &bitmap, Orientation orientation);

/// A part of the bitmap, which shares its pixels. It must lie within.
[[nodiscard]] Bitmap cropped(const Bitmap &bitmap, int x, int y, int width, int height);

} // namespace vellomir
