#pragma once

#include "cli/Examples.h"

#include <string>
#include <vector>

namespace CLI { // NOLINT(readability-identifier-naming): the parser library's own name
class App;
}

namespace vellomir::cli {

/// An option, or an operand, which has no option in front of it.
struct OptionDescription {
    std::string name;      ///< "--icon", or "PACKAGE" for an operand
    std::string shortName; ///< "-h", or ""
    std::string value;     ///< "PICTURE", "auto|always|never"; "" for a flag and for an operand
    std::string help;      ///< in one line
    bool isRequired = false;
    bool isRepeated = false; ///< an operand that takes one or more, or an option

    /// The words that the value may be: "auto", "always", "never"; none if it is any text.
    [[nodiscard]] std::vector<std::string> choices() const;
};

/// A command of the program, or the program itself; what manual pages and completions are made of.
struct CommandDescription {
    std::string name; ///< the last word only: "list"
    std::string help; ///< in one line
    std::vector<OptionDescription> operands;
    std::vector<OptionDescription> options;
    std::vector<Example> examples;
    std::vector<CommandDescription> commands;
};

/// From the definitions that the parser has.
[[nodiscard]] CommandDescription descriptionOf(const CLI::App &app);

} // namespace vellomir::cli
