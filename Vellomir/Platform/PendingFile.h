#pragma once

#include <string>

namespace vellomir {

/// What to do with a file that is already where another one is to be put.
enum class Existing { refuse, replace };

/// Gives a file its final name in one step: the name stands for the old file, or for nothing, until
/// it stands for the whole new one. Both names must be in one file system. Throws
/// `FileError::fileWriteFileExists` with the name if it is taken and nothing may be replaced, other
/// write errors otherwise; the file keeps its old name then.
void putInPlace(const std::string &from, const std::string &to, Existing existing);

/// A name that nothing has, hidden, in a folder: ".vellomir-" and random digits.
[[nodiscard]] std::string unusedName(const std::string &folder);

/// The folder that a file lies in; "." if its name says none.
[[nodiscard]] std::string folderOf(const std::string &path);

/// Throws a write error with the folder if this process may make no files in it.
void requireFolderTakesFiles(const std::string &folder);

/// A file on its way: written under a hidden name in the folder of its destination, then put in
/// place. What has not been put in place is removed with the object.
class PendingFile {
public:
    /// Creates nothing yet. Throws `FileError::fileReadNoSuchFile` if the destination's folder is
    /// missing, and `fileWriteNoPermission` with the folder if no file can be made there.
    explicit PendingFile(std::string destination);
    PendingFile(const PendingFile &) = delete;
    PendingFile &operator=(const PendingFile &) = delete;
    ~PendingFile();

    /// Where to write it.
    [[nodiscard]] const std::string &path() const { return path_; }
    void place(Existing existing);
    /// A text about the hidden file, with the name that the user knows instead.
    [[nodiscard]] std::string underFinalName(std::string text) const;

private:
    std::string destination_;
    std::string path_;
};

} // namespace vellomir
