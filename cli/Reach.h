#pragma once

#include "archive/Archive.h"

#include <optional>
#include <string>

namespace vellomir::cli {

/// What is missing; nothing if every entry was reached. "the directory promises 3 entries, 1 could
/// be reached: entry 2 is encrypted"
[[nodiscard]] std::optional<std::string> shortfall(const archive::Archive::Reach &reach);

} // namespace vellomir::cli
