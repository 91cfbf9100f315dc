#pragma once

#include <functional>
#include <string>
#include <vector>

namespace vellomir {

/// An item as its folder lists it.
struct FolderItem {
    std::string name;
    bool isFolder = false; ///< false for a link to a folder

    friend bool operator==(const FolderItem &, const FolderItem &) = default;
};

/// Lists an open folder; `path` is its path for errors. The items may be in any order.
using ListFolder = std::function<std::vector<FolderItem>(int folder, const std::string &path)>;

/// What a folder holds, as far as it could be listed.
struct FolderListing {
    std::vector<FolderItem> items;
    int systemError = 0; ///< errno, if this is not all
};

/// Lists a folder that is open for listing, without "." and "..", in the order of the file system.
[[nodiscard]] FolderListing listFolder(int folder);

/// The items of an open folder without "." and "..", in the order of the file system. Throws a
/// `FileError` with the path.
[[nodiscard]] std::vector<FolderItem> folderItems(int folder, const std::string &path);

/// Whether a folder is the one that a walk started at.
enum class WalkLevel { top, below };

/// Puts the items of one folder into the order in which a walk visits them. It depends on the names
/// and kinds only, so that it is the same on every disk: everything that is no folder comes before
/// the folders, and items of one kind go by the bytes of their names. At the top of the walk,
/// "Payload" comes before everything else.
void sortForWalk(std::vector<FolderItem> &items, WalkLevel level);

} // namespace vellomir
