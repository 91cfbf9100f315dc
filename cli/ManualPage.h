#pragma once

#include "cli/CommandDescription.h"

#include <string>

namespace vellomir::cli {

/// What a manual page says beside the commands and options.
struct ManualPageFrame {
    std::string version; ///< of the program
    std::string date;    ///< "2026-01-31"
    std::string rest;    ///< sections in roff that follow the options; "" for none
};

/// The manual page of a program, in roff with the macros "man", for section 1.
[[nodiscard]] std::string manualPage(const CommandDescription &program,
                                     const ManualPageFrame &frame);

} // namespace vellomir::cli
