#pragma once

#include "files/FilePlace.h"
#include "files/WorkingFolder.h"

#include <string>

namespace vellomir {

/// What to do with a file that is already where another one is to be put.
enum class Existing { refuse, replace };

/// Gives a file its final name in one step: the name stands for the old file, or for nothing, until
/// it stands for the whole new one. Both names must be in one file system. Throws
/// `FileError::fileWriteFileExists` with the path if the name is taken and nothing may be replaced,
/// other write errors otherwise; the file keeps its old name then.
void putInPlace(const std::string &from, const FilePlace &to, Existing existing);

/// The folder that a file lies in; "." if its name says none.
[[nodiscard]] std::string folderOf(const std::string &path);

/// The name of a file in its folder.
[[nodiscard]] std::string nameOf(const std::string &path);

/// Throws a write error with the folder if this process may make no files in it.
void requireFolderTakesFiles(const std::string &folder);

/// A file on its way: written in a hidden folder beside its destination, then put in place. What
/// has not been put in place is removed with the object; what a killed process left there, by the
/// next one.
class PendingFile {
public:
    /// Makes the hidden folder, but no file yet. Throws `FileError::fileReadNoSuchFile` if the
    /// destination's folder is missing, and write errors with that folder.
    explicit PendingFile(std::string destination);
    PendingFile(const PendingFile &) = delete;
    PendingFile &operator=(const PendingFile &) = delete;

    /// Where to write it.
    [[nodiscard]] const std::string &path() const { return path_; }
    /// Where it will be: a name in the folder that was opened when this object was made.
    [[nodiscard]] FilePlace destination() const;
    void place(Existing existing);
    /// A text about the hidden file, with the name that the user knows instead; about the hidden
    /// folder, with its path.
    [[nodiscard]] std::string underFinalName(std::string text) const;

private:
    std::string destination_;
    WorkingFolder folder_;
    std::string path_;
};

} // namespace vellomir
