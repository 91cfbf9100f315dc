#pragma once

#include "archive/URL.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vellomir {

/// The folders that belong to one run of the application, and to nobody else: both are emptied as
/// part of the work. They lie below one root, which is also the wall: the job touches nothing
/// outside of it, except that it reads the picked file.
class Sandbox {
public:
    /// Whether the path of the root may hold links that stay in it: such as "/proc/self/fd/7/job".
    enum class RootLinks { resolve, keep };

    /// Makes the root and the folders in it when missing, for the owner only (0700). Throws a
    /// `FileError` if that cannot be done, or if a link or a file is where a folder must be.
    explicit Sandbox(const archive::URL &root,
                     const std::vector<std::string> &documentFolders = {"Documents"},
                     RootLinks rootLinks = RootLinks::resolve);

    /// Absolute, all links resolved unless they are to be kept. Never a link itself.
    [[nodiscard]] const archive::URL &root() const { return root_; }
    [[nodiscard]] const archive::URL &temporaryFolder() const { return temporaryFolder_; }
    /// The first of the folders for documents; nothing if the sandbox was made without any.
    [[nodiscard]] std::optional<archive::URL> documentsFolder() const;

private:
    archive::URL root_;
    archive::URL temporaryFolder_;
    std::vector<archive::URL> documentFolders_;
};

} // namespace vellomir
