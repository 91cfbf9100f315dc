#pragma once

#include "Vellomir/PropertyLists/Value.h"
#include "archive/Progress.h"

#include <cstddef>
#include <span>

namespace vellomir {

/// Whether the bytes begin as binary lists of any version do.
[[nodiscard]] bool isBinaryPropertyList(std::span<const std::byte> bytes);

/// Reads a list in the binary format. A value that is used several times is copied for each use.
///
/// Throws `PropertyListError::unreadablePropertyList` with the byte and the keys, for damage,
/// values that contain themselves, and kinds that no other format knows;
/// `ArchiveError::cancelledOperation`.
[[nodiscard]] PropertyListValue readBinaryPropertyList(std::span<const std::byte> bytes,
                                                       const archive::Progress *progress);

} // namespace vellomir
