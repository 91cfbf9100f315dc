#pragma once

#include "archive/HeldFile.h"

#include <functional>
#include <string>

namespace vellomir::archive {

/// Throws `ArchiveError::unwritableArchive` if there is another file at the path than the open one,
/// or a `FileError` if there is none: what is written to the open file would be lost.
void requireSameFile(const std::string &path, int descriptor);

/// Throws `ArchiveError::unwritableArchive` if there is another file of this name, or if the file
/// has changed. To be called before another file takes its place.
void requireUnchanged(const FilePlace &place, const FileIdentity &expected);

/// Opens a file and locks it (flock) for as long as the descriptor is open. Other programs are kept
/// out only if they ask for the lock. `open` opens the file at the path; it is called again if
/// another file has taken the place meanwhile. Without locks in the file system the file is just
/// opened.
///
/// Throws what `open` throws, and `ArchiveError::unwritableArchive`, which names the program that
/// holds the lock where the system knows it.
[[nodiscard]] FileDescriptor openLocked(const std::string &path,
                                        const std::function<FileDescriptor()> &open,
                                        const LockWait &wait = {});

/// The same for reading and writing, and a name in an open folder. Throws a `FileError` with the
/// path if that is not possible.
[[nodiscard]] FileDescriptor openLockedForUpdate(const FilePlace &place, const LockWait &wait = {});

} // namespace vellomir::archive
