#pragma once

#include "archive/URL.h"
#include "files/FilePlace.h"
#include "files/WorkingFolder.h"

#include <string>

namespace vellomir::archive {

/// Where the file of an archive is, behind all links. Its path is looked up once: what is made
/// beside the file, and what takes its place, goes to the folder that was found then.
class ArchivePlace {
public:
    /// Throws a `FileError` with the path of the folder.
    explicit ArchivePlace(const URL &url);

    /// Valid as long as the object.
    [[nodiscard]] FilePlace file() const;
    [[nodiscard]] const std::string &folderPath() const { return folderPath_; }
    [[nodiscard]] const FileDescriptor &folder() const { return folder_; }

private:
    std::string path_;
    std::string folderPath_;
    FileDescriptor folder_;
};

/// Makes a folder for the file that will replace an archive: beside it, on its volume, so that one
/// rename does it; where that is not possible, in the system's temporary folder if that is on the
/// same volume. Throws a `FileError` if it cannot be made there either, which names both folders.
[[nodiscard]] WorkingFolder temporaryReplacementDirectory(const ArchivePlace &archive);

/// Replaces a file by another one with one rename, so that the name always refers to the whole old
/// or the whole new file. The new file takes over permissions and, where that is allowed, owner of
/// the old one. Throws a `FileError`; both are as they were then.
void replaceItem(const FilePlace &at, const URL &withItemAt);

} // namespace vellomir::archive
