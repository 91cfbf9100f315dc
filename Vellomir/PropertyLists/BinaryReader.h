#pragma once

#include "Vellomir/PropertyLists/Value.h"
#include "archive/Progress.h"

#include <cstddef>
#include <span>

namespace vellomir {

/// Whether the bytes begin with the magic of a binary list of any version.
[[nodiscard]] bool isBinaryPropertyList(std::span<const std::byte> bytes);

/// Reads a binary list. A value that is referenced several times is copied for each reference.
///
/// Throws `PropertyListError::unreadablePropertyList` with the byte and the keys for damage, for
/// values that contain themselves and for kinds that no other format has;
/// `ArchiveError::cancelledOperation`.
[[nodiscard]] PropertyListValue readBinaryPropertyList(std::span<const std::byte> bytes,
                                                       const archive::Progress *progress);

} // namespace vellomir
