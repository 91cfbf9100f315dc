#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <string>

namespace vellomir {

/// What is wrong with the file of a picture, in one sentence; nothing if it can be given to the
/// decoder. Decoders would paint what is missing grey, complain on the standard error stream, or
/// take gigabytes for a picture that a few bytes claim to hold. HEIC is not looked at.
[[nodiscard]] std::optional<std::string> pictureFault(std::span<const std::byte> bytes);

} // namespace vellomir
