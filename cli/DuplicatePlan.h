#pragma once

#include "cli/Options.h"

#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

/// Packages and numbers of one command line become copies.
namespace vellomir::cli {

/// What is wrong with an option or an operand.
class PlanError : public std::runtime_error {
public:
    PlanError(std::string name, const std::string &why)
        : std::runtime_error(why), name_(std::move(name)) {}

    /// "--number", "PACKAGE"
    [[nodiscard]] const std::string &name() const { return name_; }

private:
    std::string name_;
};

/// "2", "3", "4" for "2..4". Throws `PlanError`.
[[nodiscard]] std::vector<std::string> numbersOfRange(const std::string &range);

/// A copy for every package and number, package by package, with the options in common. No number
/// means that none was given. Throws `PlanError`. Reads no file.
[[nodiscard]] std::vector<DuplicateOptions> planCopies(const DuplicateOptions &common,
                                                       const std::vector<std::string> &packages,
                                                       const std::vector<std::string> &numbers);

} // namespace vellomir::cli
