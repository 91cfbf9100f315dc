#pragma once

#include <string>
#include <vector>

namespace vellomir::test {

/// The result of running another program.
struct Verdict {
    int exitCode = -1;
    std::string output; ///< standard output and standard error, in the order written
};

/// Runs a program found in PATH and waits for it. The exit code is 127 if it cannot be started.
[[nodiscard]] Verdict run(const std::vector<std::string> &command, const std::string &folder = {});

} // namespace vellomir::test
