#pragma once

#include <exception>
#include <stdexcept>
#include <string>

/// The words for standard error.
namespace cli {

/// A command that failed, in full: what, and why.
class Failure : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Why something failed; an error of the engine also by its name, as in
/// "There is no such file: /a/b (FileError.fileReadNoSuchFile)".
[[nodiscard]] std::string describe(const std::exception &error);

/// One line for a terminal, whatever names the text holds: "vellomir-cli: …".
[[nodiscard]] std::string errorLine(const std::string &text);

} // namespace cli
