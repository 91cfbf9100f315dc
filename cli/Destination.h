#pragma once

#include "files/Error.h"
#include "files/FilePlace.h"

#include <optional>
#include <string>

namespace vellomir::cli {

/// Where a result is to go: a folder that exists, and the result's name where it is known already.
struct Destination {
    std::string folder;
    std::optional<std::string> name;

    /// `output` is a folder, or the name of a file. Throws `FileError::fileReadNoSuchFile` if there
    /// is no such folder, and `fileWriteFileExists` if the name is taken and may not be replaced,
    /// or by something that `requireReplaceable` refuses.
    [[nodiscard]] static Destination find(const std::string &output, bool mayReplace);

    /// The path of a result that would be called `ownName`.
    [[nodiscard]] std::string path(const std::string &ownName) const;
};

/// Throws `FileError::fileWriteFileExists` if the name is taken and may not be replaced, or by
/// something that `requireReplaceable` refuses.
void requireFree(const std::string &path, bool mayReplace);

/// Throws `FileError::fileWriteFileExists` if something is there that is neither a regular file nor
/// a link to one.
void requireReplaceable(const FilePlace &place);

/// `FileError::fileWriteFileExists` with the way out.
[[nodiscard]] Error existsAlready(const std::string &path);

} // namespace vellomir::cli
