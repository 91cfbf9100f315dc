#pragma once

#include <cstdint>
#include <string>

namespace vellomir {

// Whether a file can be made in a folder, before the work that makes it.

/// Throws `fileReadNoSuchFile` with the folder's path if it is missing, or no folder.
void requireFolder(const std::string &folder);

/// Throws a write error with the folder's path if this process may make no files in it.
void requireFolderTakesFiles(const std::string &folder);

/// Throws `fileWriteOutOfSpace` with the folder's path if its file system has less room than this.
/// The folder may be missing: then its nearest existing parent counts. A file system that does not
/// report its free room has enough.
void requireFreeRoom(const std::string &folder, std::uint64_t bytes);

} // namespace vellomir
