#pragma once

#include "Vellomir/Inspection/Inspection.h"

#include <vector>

namespace vellomir {

/// What the facts of an inspection mean for a second copy; its own warnings are ignored.
[[nodiscard]] std::vector<InspectionWarning> inspectionWarnings(const Inspection &found);

} // namespace vellomir
