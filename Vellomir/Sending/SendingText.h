#pragma once

#include "Vellomir/Sending/SendingState.h"

#include <functional>
#include <string>

namespace vellomir {

/// Bytes for people, such as "12.3 MB".
using AmountText = std::function<std::string(std::uint64_t)>;

/// How far the sending is, in a few words: "12.3 MB of 104 MB sent".
[[nodiscard]] std::string progressText(const SendingState &state, std::uint64_t fileSize,
                                       const AmountText &amount);

/// Why it ended, as a sentence without a full stop; "" if its owner stopped it.
[[nodiscard]] std::string endText(SendingEnd end);

} // namespace vellomir
