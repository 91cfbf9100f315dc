#pragma once

#include "archive/URL.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vellomir {

/// The folders of one run of the application. No other run uses them: a job empties them. They are
/// below one root, and a job changes nothing outside of it; outside it only reads the picked file.
class Sandbox {
public:
    /// Whether the path of the root may hold links that stay in it: such as "/proc/self/fd/7/job".
    enum class RootLinks { resolve, keep };

    /// Makes the root and the folders in it where they are missing, for the owner only (0700).
    /// Throws a `FileError` if that fails, or if a link or a file has the name of one of the
    /// folders.
    explicit Sandbox(const archive::URL &root,
                     const std::vector<std::string> &documentFolders = {"Documents"},
                     RootLinks rootLinks = RootLinks::resolve);

    /// Absolute, all links resolved unless `RootLinks::keep` was given. Never a link itself.
    [[nodiscard]] const archive::URL &root() const { return root_; }
    [[nodiscard]] const archive::URL &temporaryFolder() const { return temporaryFolder_; }
    /// The first of the folders for documents; none if the sandbox was made without any.
    [[nodiscard]] std::optional<archive::URL> documentsFolder() const;

private:
    archive::URL root_;
    archive::URL temporaryFolder_;
    std::vector<archive::URL> documentFolders_;
};

} // namespace vellomir
