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
    /// Makes the root and the folders in it when missing, for the owner only (0700). Throws a
    /// `FileError` if that cannot be done, or if a link or a file stands where a folder must be.
    explicit Sandbox(const archive::URL &root,
                     const std::vector<std::string> &documentFolders = {"Documents"});

    /// Absolute, all links resolved.
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
