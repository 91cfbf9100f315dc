#pragma once

#include "archive/Error.h"

#include <cstddef>
#include <span>
#include <string>

namespace vellomir {

/// The text of a property list as UTF-8, without a byte-order mark and with "\n" at the end of its
/// lines. UTF-8 and UTF-16 are told apart by the mark, or by where the first zero byte stands.
/// Throws `PropertyListError::unreadablePropertyList` if the bytes are neither.
[[nodiscard]] std::string propertyListText(std::span<const std::byte> bytes);

/// Appends one character.
void appendUTF8(std::string &text, char32_t character);

/// Appends code units of UTF-16. False, and a part appended, if a surrogate lacks its partner.
[[nodiscard]] bool appendUTF16(std::string &text, std::u16string_view units);

/// `PropertyListError::unreadablePropertyList` with this sentence.
[[nodiscard]] archive::Error unreadable(const std::string &what);

} // namespace vellomir
