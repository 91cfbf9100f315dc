#pragma once

#include "archive/Error.h"

#include <string>
#include <string_view>

namespace vellomir {

enum class PropertyListError {
    unreadablePropertyList = 1, ///< not a property list, damaged, or beyond a limit
    unwritablePropertyList,     ///< holds a value that XML cannot hold
};

[[nodiscard]] std::error_code make_error_code(PropertyListError error);

/// `PropertyListError::unreadablePropertyList` with this sentence.
[[nodiscard]] archive::Error unreadable(const std::string &sentence);

/// A text from a list for an error: in quotes, printable, and cut where it is long.
[[nodiscard]] std::string quotedText(std::string_view text);

} // namespace vellomir

template <>
struct std::is_error_code_enum<vellomir::PropertyListError> : std::true_type {};
