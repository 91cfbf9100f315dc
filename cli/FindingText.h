#pragma once

#include "archive/Verification.h"

#include <string>

namespace vellomir::cli {

/// What is wrong, in one sentence without the name of the entry: "it overlaps another entry".
[[nodiscard]] std::string findingText(const archive::Finding &finding);

/// The path of the entry that the finding is about, or its raw name, escaped, where that is no
/// text; "" for the archive as a whole.
[[nodiscard]] std::string findingPath(const archive::Finding &finding);

} // namespace vellomir::cli
