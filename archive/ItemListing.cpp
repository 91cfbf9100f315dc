#include "archive/ItemListing.h"

#include "archive/Error.h"
#include "archive/FileDescriptor.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>

namespace archive {
namespace {

constexpr int flagsBehindLinks = listFlags & ~O_NOFOLLOW;

/// The items of a folder, the first one last.
std::vector<FolderItem> itemsFromTheEnd(const std::string &path, WalkLevel level,
                                        const ListFolder &list) {
    const int linkFlag = level == WalkLevel::top ? 0 : O_NOFOLLOW;
    const FileDescriptor folder(::open(path.c_str(), flagsBehindLinks | linkFlag));
    if (!folder.isOpen())
        throw readError(path, errno);
    std::vector<FolderItem> items = list(folder.get(), path);
    sortForWalk(items, level);
    std::reverse(items.begin(), items.end());
    return items;
}

} // namespace

std::vector<std::string> subpaths(const URL &folder, const ListFolder &list) {
    const std::string root = folder.path();
    std::vector<std::string> found;
    // Still to be visited, the next one last; names are paths below the root.
    std::vector<FolderItem> pending = itemsFromTheEnd(root, WalkLevel::top, list);
    while (!pending.empty()) {
        FolderItem next = std::move(pending.back());
        pending.pop_back();
        if (next.isFolder)
            for (FolderItem &item : itemsFromTheEnd(root + '/' + next.name, WalkLevel::below, list))
                pending.push_back({next.name + '/' + item.name, item.isFolder});
        found.push_back(std::move(next.name));
    }
    return found;
}

} // namespace archive
