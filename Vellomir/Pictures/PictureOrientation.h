#pragma once

#include "Vellomir/Pictures/Picture.h"

#include <span>

namespace vellomir {

/// The orientation in the EXIF data of a PNG or a WebP; up if there is none. Damaged EXIF data says
/// nothing, and neither do other formats: their decoders know.
[[nodiscard]] Orientation exifOrientation(std::span<const std::byte> bytes);

} // namespace vellomir
