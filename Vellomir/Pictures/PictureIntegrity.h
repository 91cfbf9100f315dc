#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <string>

namespace vellomir {

/// The name of the format by the first bytes of the file, such as "png"; "" if it is another one.
/// HEIC and AVIF are not looked at.
[[nodiscard]] const char *pictureFormat(std::span<const std::byte> bytes);

/// What is wrong with the file of a picture, in one sentence; nothing if it can be given to the
/// decoder. Decoders would paint what is missing grey, or take gigabytes for a picture that a few
/// bytes claim to hold. HEIC and AVIF are not looked at.
[[nodiscard]] std::optional<std::string> pictureFault(std::span<const std::byte> bytes);

} // namespace vellomir
