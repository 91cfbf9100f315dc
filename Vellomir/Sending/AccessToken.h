#pragma once

#include <string>
#include <string_view>

namespace vellomir {

/// 130 random bits of the system as 26 letters and digits (A-Z, 2-7). Throws `SendingFault` if the
/// system has none.
[[nodiscard]] std::string makeAccessToken();

/// Whether a text is the token. Letters may be lower case, because people type them. The time
/// depends on the length of the text only.
[[nodiscard]] bool isAccessToken(std::string_view text, std::string_view token);

} // namespace vellomir
