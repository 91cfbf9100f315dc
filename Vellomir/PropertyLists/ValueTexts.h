#pragma once

#include "Vellomir/PropertyLists/Value.h"

#include <optional>
#include <string>
#include <string_view>

namespace vellomir {

// Numbers, dates and data as XML spells them. White space around a text does not count. Each
// function gives nothing if the text is no such value. None depends on the locale.

/// From -2^63 to 2^64 - 1, decimal or, behind "0x", hexadecimal.
[[nodiscard]] std::optional<PropertyListValue> parseInteger(std::string_view text);
/// Also "inf", "infinity" and "nan". What is too large for a double becomes infinity, as everywhere
/// else.
[[nodiscard]] std::optional<PropertyListReal> parseReal(std::string_view text);
/// "2001-01-01T00:00:00Z", of the years 1 to 9999. The end of the time, or all of it, may be
/// missing; seconds may have a fraction.
[[nodiscard]] std::optional<PropertyListDate> parseDate(std::string_view text);
/// Base64 (RFC 4648, section 4), with white space anywhere.
[[nodiscard]] std::optional<archive::Data> parseData(std::string_view text);

/// The shortest text that reads as the same double; "+infinity", "-infinity" or "nan".
[[nodiscard]] std::string formatReal(PropertyListReal real);
/// The second that the moment lies in. Nothing outside the years 1 to 9999.
[[nodiscard]] std::optional<std::string> formatDate(PropertyListDate date);
/// Base64 in one line.
[[nodiscard]] std::string formatData(std::span<const std::byte> bytes);

} // namespace vellomir
