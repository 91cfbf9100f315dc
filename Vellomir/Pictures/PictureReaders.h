#pragma once

#include "Vellomir/Pictures/PictureDecoder.h"

namespace vellomir {

// Each decodes a file that has no fault that can be seen from outside. They throw a `PictureFault`.

/// What Qt reads by itself and with its plugins.
[[nodiscard]] DecodedPicture readWithQt(std::span<const std::byte> bytes,
                                        const DecodingOptions &options,
                                        const BeforePixels &beforePixels);

/// HEIC, which is upright then. Built where libheif is.
[[nodiscard]] DecodedPicture readWithHeif(std::span<const std::byte> bytes,
                                          const DecodingOptions &options,
                                          const BeforePixels &beforePixels);

/// Refuses more pixels than the options or the size of the file allow.
void requirePixelCount(std::int64_t pixels, std::size_t fileSize, const DecodingOptions &options);

} // namespace vellomir
