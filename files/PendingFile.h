#pragma once

#include "files/Error.h"
#include "files/FilePlace.h"
#include "files/WorkingFolder.h"

#include <string>

namespace vellomir {

/// What to do with a file that is already where another one is to be put.
enum class Existing { refuse, replace };

/// Gives a file its final name in one step: until then the name is that of the old file, or free.
/// Both names must be in one file system. Throws `FileError::fileWriteFileExists` with the path if
/// the name is taken and nothing may be replaced, other write errors otherwise; the file keeps its
/// old name then.
void putInPlace(const std::string &from, const FilePlace &to, Existing existing);

/// A new file that is not complete yet: written in a hidden folder beside its destination, then put
/// in place. Until it is in place, it is removed with the object; after a killed process, by the
/// next object in the same folder.
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
    /// Gives it its final name. Throws like `putInPlace`.
    void place(Existing existing);
    /// The same error with a path that the user knows: the destination for the hidden file, the
    /// destination's folder for anything else in the hidden folder.
    [[nodiscard]] Error underFinalName(const Error &error) const;

private:
    std::string destination_;
    WorkingFolder folder_;
    std::string path_;
};

} // namespace vellomir
