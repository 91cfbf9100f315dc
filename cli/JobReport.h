#pragma once

#include <string>
#include <vector>

/// What a job's words mean for whoever reads only one line.
namespace cli {

/// Why a job has no result: the step's own line in the log, or, where the log keeps the reason to
/// itself, the console's. With the name of the error where it is known.
[[nodiscard]] std::string reasonOf(const std::vector<std::string> &log,
                                   const std::vector<std::string> &console);

/// The lines of a successful job that tell of something that did not work.
[[nodiscard]] std::vector<std::string> complaintsIn(const std::vector<std::string> &log);

} // namespace cli
