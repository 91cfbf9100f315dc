#pragma once

#include "Vellomir/Sandbox/Sandbox.h"
#include "files/Error.h"

#include <functional>
#include <optional>

namespace vellomir {

/// Replaces internal paths in errors by names that the user knows. A job works on a copy of the
/// package and on unpacked files, in folders that the user has never seen.
class UserNames {
public:
    /// `package` is the picked file, if there is one. `display` abbreviates the user's own paths.
    UserNames(const Sandbox &sandbox, std::optional<archive::URL> package,
              std::function<std::string(const std::string &path)> display);

    /// Replaces the paths of an error: an unpacked item becomes an entry of the package, a result
    /// its name, any other file outside the sandbox its displayed path. If the disk is full, the
    /// error names the folder that contains the sandbox instead of a file.
    void operator()(ErrorContext &context) const;

private:
    void renameDocument(ErrorContext &context, const std::string &name) const;

    std::string root_;      ///< ends in a slash, like `documents_`
    std::string documents_; ///< empty if there are none
    std::string disk_;      ///< the folder that contains the sandbox
    std::optional<archive::URL> package_;
    std::function<std::string(const std::string &path)> display_;
};

} // namespace vellomir
