#pragma once

#include "cli/Options.h"

#include "Vellomir/Job/Job.h"

#include <optional>
#include <string>
#include <system_error>

/// What a user may do about an error: "; vellomir-cli archive test names all damaged entries", to
/// be put behind its text. "" if no step is obvious.
namespace vellomir::cli {

/// After an error of a command with these options.
[[nodiscard]] std::string nextStep(const std::error_code &code, const Options &options);

/// After a job without a result.
[[nodiscard]] std::string nextStep(const std::optional<JobProblem> &failure);

} // namespace vellomir::cli
