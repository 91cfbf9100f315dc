#pragma once

#include "Vellomir/Inspection/Inspection.h"
#include "archive/URL.h"

namespace vellomir {

/// What would make a finished copy misbehave on a device. Empty if there is nothing, and if the
/// copy cannot be inspected: the sheet that shows the copy does not depend on it. Takes some
/// milliseconds. `progress` may be null, and is only asked whether it is cancelled. Any thread;
/// throws nothing but `std::bad_alloc`.
[[nodiscard]] std::vector<InspectionWarning>
warningsAbout(const archive::URL &copy, const archive::ProgressPointer &progress);

} // namespace vellomir
