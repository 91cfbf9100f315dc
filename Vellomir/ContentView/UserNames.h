#pragma once

#include "Vellomir/Platform/Sandbox.h"
#include "archive/Error.h"

#include <functional>
#include <optional>

namespace vellomir {

/// The names by which the user knows what a job works on. The copy of the package and what was
/// unpacked from it lie in folders that the user has never seen.
class UserNames {
public:
    /// `package` is the file that was picked, if there is one. `display` makes a path of the user's
    /// own shorter.
    UserNames(const Sandbox &sandbox, std::optional<archive::URL> package,
              std::function<std::string(const std::string &path)> display);

    /// Puts them in the place of the job's own: an item that was unpacked becomes an entry of the
    /// package, a result its name, any other file outside of the sandbox its displayed path. If
    /// the disk is full, the file does not matter: the folder that the sandbox is in is named.
    void operator()(archive::ErrorContext &context) const;

private:
    void renameDocument(archive::ErrorContext &context, const std::string &name) const;

    std::string root_;      ///< ends in a slash, as the next one
    std::string documents_; ///< empty if there are none
    std::string disk_;      ///< the folder that the sandbox is in
    std::optional<archive::URL> package_;
    std::function<std::string(const std::string &path)> display_;
};

} // namespace vellomir
