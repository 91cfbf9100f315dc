#pragma once

#include "Vellomir/Pictures/Picture.h"
#include "Vellomir/Pictures/PictureLimits.h"

#include <string>
#include <vector>

namespace vellomir {

/// Whether the limit of memory is set. Sanitizers reserve terabytes of address space.
#ifdef VELLOMIR_SANITIZED
inline constexpr bool limitsMemory = false;
#else
inline constexpr bool limitsMemory = true;
#endif

/// One run of the picture program.
struct HelperRun {
    std::string program;                ///< path
    std::vector<std::string> arguments; ///< without the program's name
    int input = -1;                     ///< stays the caller's
    int output = -1;                    ///< the same
    HelperLimits limits;
};

/// Runs the program within its limits until it has ended. It gets no descriptors but those of
/// `HelperDescriptor`, no environment but what libraries need, and dies with this process. Whatever
/// happens, the program has gone when this function returns or throws. Any thread.
///
/// Throws a `PictureFault` with the reason if the program crashed, was stopped by a limit or
/// failed; `PictureError::missingCodec`, with the path, if it cannot be started; and
/// `ArchiveError::cancelledOperation` if `isCancelled`, which is asked twenty times a second,
/// returns true.
void runHelper(const HelperRun &run, const Cancellation &isCancelled);

} // namespace vellomir
