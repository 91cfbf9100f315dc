#pragma once

#include "cli/CopyContents.h"

#include "Vellomir/Job/Job.h"

#include <optional>
#include <string>
#include <vector>

/// What the failure and the complaints of a job mean for a user who reads only one line.
namespace vellomir::cli {

/// Why a job has no result, with the name of the error where there is one.
[[nodiscard]] std::string reasonOf(const std::optional<JobProblem> &failure);

/// Why a copy is without its app: "Payload" is in the package, but could not be moved to where it
/// is packed. Nothing if it was moved, or if the package has none.
[[nodiscard]] std::optional<std::string> lostPayload(const std::vector<JobProblem> &complaints);

/// Why a finished copy may not be the second copy that the user wants: one text for each reason,
/// none if all went well.
[[nodiscard]] std::vector<std::string> warningsAbout(const std::vector<JobProblem> &complaints,
                                                     const CopyContents &copy);

} // namespace vellomir::cli
