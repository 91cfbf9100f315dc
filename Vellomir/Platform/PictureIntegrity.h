#pragma once

#include <cstddef>
#include <span>

namespace vellomir {

/// Whether a PNG or a JPEG is cut short, or a PNG damaged. The decoders would paint what is missing
/// grey, or complain on the standard error stream. Other formats: false.
[[nodiscard]] bool isDamagedPicture(std::span<const std::byte> bytes);

} // namespace vellomir
