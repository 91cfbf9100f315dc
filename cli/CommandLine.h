#pragma once

#include "cli/CommandDescription.h"
#include "cli/Options.h"

#include <stdexcept>
#include <string>
#include <variant>
#include <vector>

namespace vellomir::cli {

/// A command line that asks for nothing but words: help, or the version.
struct Answer {
    std::string text;
};

/// A command line that is wrong; `what()` is one line that says why.
class UsageError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Reads the arguments that follow the program's name. Touches no file. Throws `UsageError`.
[[nodiscard]] std::variant<Request, Answer> parse(const std::vector<std::string> &arguments);

/// All commands and options, for manual pages and completions.
[[nodiscard]] CommandDescription describeCommands();

} // namespace vellomir::cli
