#pragma once

#include "files/FileDescriptor.h"
#include "files/FilePlace.h"
#include "files/FileStatus.h"

#include <chrono>
#include <functional>
#include <string>

namespace vellomir::archive {

/// Throws `ArchiveError::unwritableArchive` if there is another file at the path than the open one,
/// or a `FileError` if there is none: what is written to the open file would be lost.
void requireSameFile(const std::string &path, int descriptor);

/// Throws `ArchiveError::unwritableArchive` if the path stands for another file by now, or if the
/// file has changed. To be asked before something takes the file's place.
void requireUnchanged(const std::string &path, const FileIdentity &expected);
/// The same for a name in an open folder.
void requireUnchanged(const FilePlace &place, const FileIdentity &expected);

/// How to wait for a lock.
struct LockWait {
    /// After that long a lock of another program is an error.
    std::chrono::milliseconds patience{2000};
    /// Called again and again while waiting; may throw.
    std::function<void()> whileWaiting = nullptr;
};

/// Opens a file and locks it (flock) for as long as the descriptor is open. Other programs are kept
/// out only if they ask for the lock. `open` opens the file at the path; it is called again if
/// another file has taken the place meanwhile. Without locks in the file system the file is just
/// opened.
///
/// Throws what `open` throws, and `ArchiveError::unwritableArchive`, which names the program that
/// holds the lock where the system tells.
[[nodiscard]] FileDescriptor openLocked(const std::string &path,
                                        const std::function<FileDescriptor()> &open,
                                        const LockWait &wait = {});

/// The same for reading and writing. Throws a `FileError` with the path if that is not possible.
[[nodiscard]] FileDescriptor openLockedForUpdate(const std::string &path,
                                                 const LockWait &wait = {});
/// The same for a name in an open folder.
[[nodiscard]] FileDescriptor openLockedForUpdate(const FilePlace &place, const LockWait &wait = {});

/// A file that will be replaced: locked, and known as it was when it was locked.
class HeldFile {
public:
    /// Throws what `openLockedForUpdate` throws. The folder of the place must stay open as long as
    /// the object is used.
    explicit HeldFile(FilePlace place, const LockWait &wait = {});
    explicit HeldFile(const std::string &path, const LockWait &wait = {});

    /// For messages.
    [[nodiscard]] const std::string &path() const { return place_.path; }
    /// Open for reading and writing.
    [[nodiscard]] int descriptor() const { return descriptor_.get(); }
    /// The same open file once more, at its beginning. All of them share one position. Throws a
    /// `FileError` with the path.
    [[nodiscard]] FileDescriptor fromStart() const;

    /// Throws `ArchiveError::unwritableArchive` if the file was replaced or changed since it was
    /// locked.
    void requireUnchanged() const { archive::requireUnchanged(place_, identity_); }

private:
    FilePlace place_;
    FileDescriptor descriptor_;
    FileIdentity identity_;
};

} // namespace vellomir::archive
