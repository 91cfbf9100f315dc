#pragma once

#include "Vellomir/PropertyLists/Value.h"

#include <optional>
#include <string>
#include <string_view>

namespace vellomir {

// Numbers, dates and data in the forms that XML lists use. White space around a text is ignored.
// The parsers return nothing for malformed text. No function depends on the locale.

/// From -2^63 to 2^64 - 1, decimal, or hexadecimal with the prefix "0x".
[[nodiscard]] std::optional<PropertyListValue> parseInteger(std::string_view text);
/// Also "inf", "infinity" and "nan". Numbers too large for a double become infinity, as in other
/// readers.
[[nodiscard]] std::optional<PropertyListReal> parseReal(std::string_view text);
/// "2001-01-01T00:00:00Z", years 1 to 9999. The time may be shortened from its end or missing;
/// seconds may have a fraction.
[[nodiscard]] std::optional<PropertyListDate> parseDate(std::string_view text);
/// Base64 (RFC 4648, section 4), with white space anywhere.
[[nodiscard]] std::optional<archive::Data> parseData(std::string_view text);

/// The shortest text that reads back as the same double; "+infinity", "-infinity" or "nan".
[[nodiscard]] std::string formatReal(PropertyListReal real);
/// Rounds down to whole seconds. Nothing outside the years 1 to 9999.
[[nodiscard]] std::optional<std::string> formatDate(PropertyListDate date);
/// Base64 in one line.
[[nodiscard]] std::string formatData(std::span<const std::byte> bytes);

} // namespace vellomir
