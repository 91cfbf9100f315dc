#pragma once

#include "archive/Progress.h"

#include <cstddef>
#include <span>
#include <string>

namespace vellomir {

/// Decodes a list in a text format to UTF-8 without byte-order mark.
///
/// The encoding is taken from a byte-order mark of UTF-8, UTF-16 or UTF-32, then from the positions
/// of zero bytes, then from the XML declaration; the default is UTF-8. A declaration may only name
/// encodings of a fixed list, because some of the system's decoders are not safe for untrusted
/// input.
///
/// Throws `PropertyListError::unreadablePropertyList` with the invalid byte or the unknown
/// encoding; `ArchiveError::cancelledOperation`.
[[nodiscard]] std::string decodePropertyListText(std::span<const std::byte> bytes,
                                                 const archive::Progress *progress);

} // namespace vellomir
