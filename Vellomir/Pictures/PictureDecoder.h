#pragma once

#include "Vellomir/Pictures/HelperProtocol.h"

#include <functional>
#include <vector>

namespace vellomir {

/// Called with the pixels that a picture says it has, when it was not refused, before the decoder
/// takes memory for them.
using BeforePixels = std::function<void(std::int64_t pixels)>;

/// Decodes the file of a picture in this process: the work of the picture program. PNG, JPEG, GIF,
/// BMP, ICO, and what else Qt and libheif read here. Throws a `PictureFault`, and `std::bad_alloc`.
/// One thread at a time.
[[nodiscard]] DecodedPicture decodePicture(std::span<const std::byte> bytes,
                                           const DecodingOptions &options = {},
                                           const BeforePixels &beforePixels = {});

/// A PNG of a bitmap, with its pixels and its alpha and nothing else. Throws a `PictureFault`.
[[nodiscard]] std::vector<std::byte> encodePicture(const Bitmap &bitmap);

} // namespace vellomir
