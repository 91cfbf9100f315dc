#pragma once

#include <string>
#include <vector>

namespace vellomir::cli {

/// A command line, and what it is for. The tests parse each of them.
struct Example {
    std::string purpose;
    std::string line; ///< "vellomir-cli …", with words that a shell takes as they are
};

/// The examples of a command, such as "archive list"; none for an unknown one.
[[nodiscard]] std::vector<Example> examplesOf(const std::string &command);

/// The end of a command's help: its examples; "" without any.
[[nodiscard]] std::string examplesText(const std::string &command);

} // namespace vellomir::cli
