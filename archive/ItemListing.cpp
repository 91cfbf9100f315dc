#include "archive/ItemListing.h"

#include "archive/Error.h"
#include "files/FileDescriptor.h"

#include <algorithm>
#include <cerrno>
#include <climits>

namespace vellomir::archive {
namespace {

/// The items of a folder, the first one last.
std::vector<FolderItem> itemsFromTheEnd(const ItemName &name, const std::string &path,
                                        WalkLevel level, const ListFolder &list) {
    const FileDescriptor folder = openFolder(name, FolderUse::list);
    if (!folder.isOpen())
        throw readError(path, errno);
    std::vector<FolderItem> items = list(folder.get(), path);
    sortForWalk(items, level);
    std::reverse(items.begin(), items.end());
    return items;
}

/// The items of the folder at a path below the root, which is reached through no link.
std::vector<FolderItem> itemsBelow(int root, const std::string &rootPath,
                                   const std::string &relative, const ListFolder &list) {
    const std::string path = rootPath + '/' + relative;
    if (path.size() >= PATH_MAX) // could be walked, but no other program could open it
        throw readError(path, ENAMETOOLONG);
    const std::size_t slash = relative.rfind('/');
    if (slash == std::string::npos)
        return itemsFromTheEnd({root, relative}, path, WalkLevel::below, list);
    const FileDescriptor parent = openBelow(root, relative.substr(0, slash));
    if (!parent.isOpen())
        throw readError(path, errno);
    const std::string name = relative.substr(slash + 1);
    return itemsFromTheEnd({parent.get(), name}, path, WalkLevel::below, list);
}

} // namespace

std::vector<std::string> subpaths(const URL &folder, const ListFolder &list) {
    const std::string path = folder.path();
    const FileDescriptor opened = openFolder(path, FolderUse::list, Links::follow);
    if (!opened.isOpen())
        throw readError(path, errno);
    return subpaths(opened.get(), path, list);
}

std::vector<std::string> subpaths(int folder, const std::string &path, const ListFolder &list) {
    std::vector<std::string> found;
    // Still to be visited, the next one last; names are paths below the root.
    std::vector<FolderItem> pending = itemsFromTheEnd({folder, "."}, path, WalkLevel::top, list);
    while (!pending.empty()) {
        FolderItem next = std::move(pending.back());
        pending.pop_back();
        if (next.isFolder)
            for (FolderItem &item : itemsBelow(folder, path, next.name, list))
                pending.push_back({next.name + '/' + item.name, item.isFolder});
        found.push_back(std::move(next.name));
    }
    return found;
}

} // namespace vellomir::archive
