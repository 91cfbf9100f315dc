#pragma once

#include "Vellomir/PropertyLists/Value.h"

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

/// Writers of property lists that share no code with the product's own, so that each of its readers
/// is compared with another writer. Nothing comes back for a value that the format cannot hold.
namespace vellomir::fuzz {

/// The sizes of numbers and texts that a format leaves to its writer.
using Style = unsigned;

/// Values in the list, each key counted as one.
[[nodiscard]] std::size_t countValues(const PropertyListValue &value);

[[nodiscard]] std::vector<std::byte> writeBinary(const PropertyListValue &value, Style style);
[[nodiscard]] std::optional<std::string> writeOldText(const PropertyListValue &value, Style style);
/// Not for texts with characters that XML cannot hold.
[[nodiscard]] std::optional<std::string> writeXml(const PropertyListValue &value, Style style);

/// The units of a text in valid UTF-8.
[[nodiscard]] std::u16string unitsOf(const std::string &text);
/// A text in UTF-16 with its byte order mark.
[[nodiscard]] std::vector<std::byte> inUTF16(const std::string &text, bool isBigEndian);

} // namespace vellomir::fuzz
