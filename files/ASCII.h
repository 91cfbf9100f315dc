#pragma once

#include <cstddef>
#include <string_view>

namespace vellomir {

/// How many bytes at the start of the text are ASCII.
[[nodiscard]] std::size_t asciiLength(std::string_view text);

} // namespace vellomir
