#pragma once

#include <exception>
#include <string>

namespace vellomir {

/// The error for the console: its name in the source, where it has one, and this description.
[[nodiscard]] std::string rawText(const std::exception &error, const std::string &description);

} // namespace vellomir
