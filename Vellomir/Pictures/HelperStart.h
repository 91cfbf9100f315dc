#pragma once

#include "Vellomir/Pictures/HelperProcess.h"

#include <sys/types.h>

namespace vellomir {

/// The status with which a program ends that could not be started.
inline constexpr int notStarted = 127;

/// Starts a process with the limits of the run. `life` becomes its `helperLife`. Returns the
/// process, which the caller has to wait for; −1, with errno, if there is none.
[[nodiscard]] pid_t startHelper(const HelperRun &run, int life);

} // namespace vellomir
