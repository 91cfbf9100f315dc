#pragma once

#include "files/Error.h"

#include <string>
#include <system_error>

namespace vellomir {

enum class InspectionError {
    noApp = 1,         ///< the package has no app with a property list
    unreadableItem,    ///< an entry is missing, no file, or larger than may be read
    unreadableProgram, ///< not a program in the Mach-O format, or damaged
    unreadableSignature,
    unreadableProfile,
};

[[nodiscard]] std::error_code make_error_code(InspectionError error);

/// Why, in one sentence, without file and entry.
[[nodiscard]] std::string reasonOf(const Error &error);

} // namespace vellomir

template <>
struct std::is_error_code_enum<vellomir::InspectionError> : std::true_type {};
