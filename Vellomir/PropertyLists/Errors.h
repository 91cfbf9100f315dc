#pragma once

#include "files/Error.h"

#include <string>
#include <string_view>

namespace vellomir {

enum class PropertyListError {
    unreadablePropertyList = 1, ///< not a property list, damaged, or beyond a limit
    unwritablePropertyList,     ///< holds a value that XML has no form for
};

[[nodiscard]] std::error_code make_error_code(PropertyListError error);

/// The error `PropertyListError::unreadablePropertyList` with this sentence.
[[nodiscard]] Error unreadable(const std::string &sentence);

/// Formats a text of a list for an error: quoted, with printable characters only, and shortened.
[[nodiscard]] std::string quotedText(std::string_view text);

} // namespace vellomir

template <>
struct std::is_error_code_enum<vellomir::PropertyListError> : std::true_type {};
