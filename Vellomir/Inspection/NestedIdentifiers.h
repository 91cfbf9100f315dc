#pragma once

#include "Vellomir/Inspection/Inspection.h"

namespace vellomir {

/// The warnings about identifiers in nested bundles: at most one about those that `--nested` makes
/// fit, and one about those that never belonged to the app. With either of them, a phone does not
/// install the package.
[[nodiscard]] std::vector<InspectionWarning> nestedIdentifierWarnings(const Inspection &found);

} // namespace vellomir
