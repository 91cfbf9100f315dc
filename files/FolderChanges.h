#pragma once

#include "files/FilePlace.h"

#include <string>
#include <sys/types.h>

namespace vellomir {

// Making, renaming and removing items. What returns a bool returns false, with errno, if it fails.
// Links are never followed: they are renamed and removed themselves.

/// A new folder, whose mode is subject to the umask.
[[nodiscard]] bool makeFolder(const ItemName &folder, mode_t mode);
/// Makes the folder and all missing ones above it. Throws a write error with `path`, which is the
/// item that they are made for.
void makeFolders(const std::string &folder, const std::string &path);
/// Makes a folder for its owner only; does nothing if anything of this name is there. Throws a
/// write error with the path.
void makePrivateFolder(const std::string &path);

/// A new link with this text as its target.
[[nodiscard]] bool makeLink(const std::string &target, const ItemName &link);

/// Removes anything but a folder.
[[nodiscard]] bool removeFile(const ItemName &file);
/// Removes an empty folder.
[[nodiscard]] bool removeFolder(const ItemName &folder);

/// Renames an item within one file system. Replaces an item of the new name in one step.
[[nodiscard]] bool renameItem(const ItemName &from, const ItemName &to);
/// Renames a file; EEXIST if the new name is taken. The check and the renaming are one step, on
/// every file system.
[[nodiscard]] bool renameToNewName(const ItemName &from, const ItemName &to);
/// Renames any item; EEXIST if the new name is taken. The check and the renaming are one step only
/// where the file system can do that.
[[nodiscard]] bool moveToNewName(const ItemName &from, const ItemName &to);

} // namespace vellomir
