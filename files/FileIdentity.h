#pragma once

#include "files/FilePlace.h"

#include <string>
#include <sys/stat.h>

namespace vellomir {

/// What tells a file from another one, and from an earlier state of itself.
class FileIdentity {
public:
    /// Of an open file. Throws a `FileError` with the path.
    FileIdentity(int descriptor, const std::string &path);
    /// Of the file at a path, behind all links. Throws a `FileError` with the path.
    explicit FileIdentity(const std::string &path);
    /// Of what has this name in its folder, a link itself. Throws a `FileError` with the path.
    explicit FileIdentity(const FilePlace &place);

    /// Whether both are one file, whatever happened to its content.
    [[nodiscard]] bool isSameFile(const FileIdentity &other) const;
    /// Whether both are one file, with the same size and modification time.
    friend bool operator==(const FileIdentity &left, const FileIdentity &right);

private:
    struct stat status_ {};
};

/// Whether the file of this name is the open file.
[[nodiscard]] bool isFileAt(const FilePlace &place, int descriptor);

} // namespace vellomir
