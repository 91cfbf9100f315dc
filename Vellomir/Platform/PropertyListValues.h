#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace vellomir {

// One spelling for each value, so that equal values have equal texts. Nothing if the text is not a
// value of the kind, or one that no property list can hold.

/// From −2^63 to 2^64 − 1; also "0x1f", which comes back in decimal.
[[nodiscard]] std::optional<std::string> canonicalInteger(std::string_view text);
/// The shortest text that reads as the same double.
[[nodiscard]] std::optional<std::string> canonicalReal(std::string_view text);
/// "2001-01-01T00:00:00Z", a day of the calendar, in whole seconds.
[[nodiscard]] std::optional<std::string> canonicalDate(std::string_view text);
/// Base64 (RFC 4648, section 4) without white space.
[[nodiscard]] std::optional<std::string> canonicalData(std::string_view text);

[[nodiscard]] std::string realText(double value);
/// Seconds since 2001-01-01 00:00:00 UTC. Nothing if they are no whole number, or not in the years
/// 1 to 9999.
[[nodiscard]] std::optional<std::string> dateText(double seconds);
[[nodiscard]] std::string dataText(std::span<const std::byte> bytes);

} // namespace vellomir
