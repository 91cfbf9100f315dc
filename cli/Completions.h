#pragma once

#include "cli/CommandDescription.h"

#include <string>

namespace vellomir::cli {

/// Scripts that complete commands, options, their words, and names of files. Each is for the
/// shell's folder of completions. The program's name is that of the description.
[[nodiscard]] std::string bashCompletion(const CommandDescription &program);
[[nodiscard]] std::string zshCompletion(const CommandDescription &program);
[[nodiscard]] std::string fishCompletion(const CommandDescription &program);

} // namespace vellomir::cli
