#pragma once

#include <string>
#include <vector>

namespace test {

/// What another program said of our bytes.
struct Verdict {
    int exitCode = -1;
    std::string output; ///< standard output and standard error, as they came
};

/// Runs a program found in PATH and waits for it. The exit code is 127 if it could not be started.
[[nodiscard]] Verdict run(const std::vector<std::string> &command, const std::string &folder = {});

} // namespace test
