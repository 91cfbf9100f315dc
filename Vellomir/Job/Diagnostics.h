#pragma once

#include <exception>
#include <string>

namespace vellomir {

/// The error for the console: its identifier in the source, if it has one, and this description.
[[nodiscard]] std::string rawText(const std::exception &error, const std::string &description);

} // namespace vellomir
