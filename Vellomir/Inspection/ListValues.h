#pragma once

#include "Vellomir/PropertyLists/PropertyList.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// Reading values of property lists whose writers are not trusted.
namespace vellomir {

/// The texts that are kept of a package are not longer than this, so that they need little memory.
inline constexpr std::size_t maximumKeptText = 1024;
/// The texts that are kept of one array.
inline constexpr std::size_t maximumKeptTexts = 256;

/// The start of the text, at most `maximumKeptText` bytes, without cutting a character.
[[nodiscard]] std::string kept(std::string_view text);

/// The value of a key; null if the value is no dictionary or has no such key. `value` may be null.
[[nodiscard]] const PropertyListValue *member(const PropertyListValue *value, std::string_view key);
/// The text of a key, as `kept` leaves it; "" if there is none.
[[nodiscard]] std::string textAt(const PropertyListValue *value, std::string_view key);
/// The texts of an array, as `kept` leaves them; a text alone counts as an array of one. Other
/// values are left out. `value` may be null.
[[nodiscard]] std::vector<std::string> textsOf(const PropertyListValue *value);

/// So many different texts are kept of a package as a whole.
inline constexpr std::size_t maximumDistinctTexts = 1000;

/// Appends the texts that are not in the list yet, up to `maximumDistinctTexts`.
void addNew(std::vector<std::string> &list, const std::vector<std::string> &texts);

} // namespace vellomir
