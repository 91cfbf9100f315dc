#pragma once

#include <cstddef>
#include <span>

namespace vellomir {

/// Whether a file says that it holds HEIC pictures, or others in the same container. AVIF: false.
/// Any brand of the file counts, not only the first.
[[nodiscard]] bool isHeif(std::span<const std::byte> bytes);

/// Whether a file says that it holds AVIF pictures.
[[nodiscard]] bool isAvif(std::span<const std::byte> bytes);

} // namespace vellomir
