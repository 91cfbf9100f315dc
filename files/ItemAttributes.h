#pragma once

#include "files/FileDescriptor.h"
#include "files/FileStatus.h"

#include <ctime>
#include <string>
#include <sys/types.h>

namespace vellomir {

struct ItemAttributes {
    mode_t permissions;
    timespec modificationTime; ///< is set as the access time as well
};

// The functions with a path throw a write error with it. Attributes that the file system does not
// know are left out: the item is complete without them.

/// Of a file that is open for reading or writing.
void setFileAttributes(const FileDescriptor &file, const ItemAttributes &attributes,
                       const std::string &path);
/// Of an open folder, which may be one for names only.
void setFolderAttributes(const FileDescriptor &folder, const ItemAttributes &attributes,
                         const std::string &path);
/// The same for the permissions alone.
void setFolderPermissions(const FileDescriptor &folder, mode_t permissions,
                          const std::string &path);
/// The times of a link, which is given twice: opened by `openItem`, and by name for old kernels.
void setLinkTime(const FileDescriptor &link, const ItemName &name, const timespec &modificationTime,
                 const std::string &path);

/// Sets the permissions of an item that is open in any way; /proc is needed after `openItem` and
/// for folders opened for names. False, with errno, if that fails.
bool setPermissions(const FileDescriptor &item, mode_t permissions);
/// The same by name; a link is not followed, and keeps its permissions.
bool setPermissions(const ItemName &item, mode_t permissions);

/// Gives an open file the owner and the permissions of another one. The owner is given where the
/// system allows that; it throws a write error with the path if the permissions fail.
void takeOverAttributes(const FileDescriptor &file, const FileStatus &from,
                        const std::string &path);

} // namespace vellomir
