#pragma once

#include "files/Error.h"

#include <exception>
#include <functional>
#include <string>

namespace vellomir {

/// Puts the user's own names of file and entry in the place of those that a program works with.
using Renaming = std::function<void(ErrorContext &context)>;

/// The error in one line for people: what `what()` says, under the user's names, and without the
/// system's reason where the first words say the same. Other exceptions: `what()`.
[[nodiscard]] std::string errorText(const std::exception &error, const Renaming &rename);

/// The error for the console: its name in the source, if it has one, and this description.
[[nodiscard]] std::string rawText(const std::exception &error, const std::string &description);

} // namespace vellomir
