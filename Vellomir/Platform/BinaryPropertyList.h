#pragma once

#include <cstddef>
#include <span>
#include <string>

namespace vellomir {

[[nodiscard]] bool isBinaryPropertyList(std::span<const std::byte> bytes);

/// What a binary property list says, as XML. Throws `PropertyListError::unreadablePropertyList` for
/// damage of any kind, for values that XML has no words for, and for a list whose shared parts,
/// told one by one, would be out of all proportion.
[[nodiscard]] std::string binaryPropertyListXml(std::span<const std::byte> bytes);

} // namespace vellomir
