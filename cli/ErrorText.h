#pragma once

#include "files/Error.h"

#include <exception>
#include <stdexcept>
#include <string>

/// The texts for standard error.
namespace vellomir::cli {

/// A command that failed, in full: what, and why.
class Failure : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Why something failed; an error of the engine also by its name, as in
/// "There is no such file: /a/b (FileError.fileReadNoSuchFile)". Where a disk is full, or a folder
/// takes no files, it names the folder and not the file.
[[nodiscard]] std::string describe(const std::exception &error);

/// An error of the system about no file in particular is one about the file that was being written.
[[nodiscard]] Error whileWriting(const std::string &path, const Error &error);

/// One line for a terminal, whatever names the text holds: "vellomir-cli: …".
[[nodiscard]] std::string errorLine(const std::string &text);

} // namespace vellomir::cli
