#pragma once

#include "cli/CommandDescription.h"

#include <string>
#include <string_view>

namespace vellomir::cli {

/// The options and operands of another program, read from what its `--help` prints: sections
/// "Options:" and "Arguments:", with a name and its help a line.
[[nodiscard]] CommandDescription descriptionOfHelp(const std::string &program,
                                                   std::string_view help);

} // namespace vellomir::cli
