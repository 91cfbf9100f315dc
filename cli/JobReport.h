#pragma once

#include "cli/CopyContents.h"

#include <optional>
#include <string>
#include <vector>

/// What a job's words mean for whoever reads only one line.
namespace vellomir::cli {

/// Why a job has no result: the step's own line in the log, or, where the log keeps the reason to
/// itself, the console's. With the name of the error where it is known.
[[nodiscard]] std::string reasonOf(const std::vector<std::string> &log,
                                   const std::vector<std::string> &console);

/// Why a job that came to its end has lost the app: "Payload" is in the package, but could not be
/// moved to what was packed. Nothing if it was moved, or if the package has none.
[[nodiscard]] std::optional<std::string> lostPayload(const std::vector<std::string> &log);

/// Why the copy of a job that came to its end may not be the second copy that was wanted: one text
/// a reason, none if all went well.
[[nodiscard]] std::vector<std::string> warningsAbout(const std::vector<std::string> &log,
                                                     const CopyContents &copy);

} // namespace vellomir::cli
