#pragma once

#include "archive/Progress.h"

#include <cstddef>
#include <span>
#include <string>

namespace vellomir {

/// A list in a text format as UTF-8, without byte-order mark.
///
/// The encoding follows from a mark of UTF-8 or UTF-16, from the first zero byte's place, or from
/// the XML declaration; without any of them it is UTF-8. Only encodings of one list are taken from
/// a declaration, because some decoders of the system are not fit for untrusted input.
///
/// Throws `PropertyListError::unreadablePropertyList` with the byte that is not valid, or the
/// encoding that is not known; `ArchiveError::cancelledOperation`.
[[nodiscard]] std::string decodePropertyListText(std::span<const std::byte> bytes,
                                                 const archive::Progress *progress);

} // namespace vellomir
