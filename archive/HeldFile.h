#pragma once

#include "files/FileDescriptor.h"
#include "files/FilePlace.h"
#include "files/FileStatus.h"

#include <chrono>
#include <functional>
#include <string>

namespace vellomir::archive {

/// How to wait for a lock.
struct LockWait {
    /// If another program holds the lock for longer, that is an error.
    std::chrono::milliseconds patience{2000};
    /// Called again and again while waiting, on the same thread; may throw.
    std::function<void()> whileWaiting = nullptr;
};

/// An archive's file that will be changed or replaced: locked (flock), as `Archive` locks it with
/// `AccessMode::update`, and remembered as it was when it was locked. The lock lasts until the
/// object and every descriptor of `fromStart` are closed. It keeps out only programs that ask for
/// it. On a file system without locks the file is just opened.
class HeldFile {
public:
    /// Opens the file for reading and writing, and waits for its lock. The folder of the place must
    /// stay open as long as the object is used. Throws a `FileError` with the path if the file
    /// cannot be opened, `ArchiveError::unwritableArchive` if it is no regular file or if another
    /// program holds it, named where the system knows it, and what `whileWaiting` throws.
    explicit HeldFile(FilePlace place, const LockWait &wait = {});
    explicit HeldFile(const std::string &path, const LockWait &wait = {});

    /// For messages.
    [[nodiscard]] const std::string &path() const { return place_.path; }
    /// Open for reading and writing; owned by the object.
    [[nodiscard]] int descriptor() const { return descriptor_.get(); }
    /// The same open file once more, at its beginning. All of them share one position. Throws a
    /// `FileError` with the path.
    [[nodiscard]] FileDescriptor fromStart() const;

    /// Throws `ArchiveError::unwritableArchive` if the file was replaced or changed since it was
    /// locked, and a `FileError` if it is gone. To be called before another file takes its place.
    void requireUnchanged() const;

private:
    FilePlace place_;
    FileDescriptor descriptor_;
    FileIdentity identity_;
};

} // namespace vellomir::archive
