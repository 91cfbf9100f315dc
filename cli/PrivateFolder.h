#pragma once

#include <string>

namespace cli {

/// A hidden folder of this process alone (0700), removed with everything in it when the object
/// goes, folders without write permission too. Links in it are not followed.
class PrivateFolder {
public:
    /// Inside an existing folder. Throws a `FileError` with that folder's path.
    explicit PrivateFolder(const std::string &parent);
    PrivateFolder(const PrivateFolder &) = delete;
    PrivateFolder &operator=(const PrivateFolder &) = delete;
    ~PrivateFolder();

    /// Absolute, without links.
    [[nodiscard]] const std::string &path() const { return path_; }

private:
    std::string path_;
};

} // namespace cli
