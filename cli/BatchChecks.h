#pragma once

#include "cli/Options.h"

#include <vector>

namespace vellomir::cli {

/// Throws `UsageError` if two copies, two reports, or a copy and a report would have one path, as
/// far as the paths are known before the jobs. Returns whether all copies will have different
/// names.
[[nodiscard]] bool requireDifferentResults(const std::vector<DuplicateOptions> &copies);

} // namespace vellomir::cli
