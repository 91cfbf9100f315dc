#include "files/FolderItems.h"

#include "files/Error.h"
#include "files/FileDescriptor.h"
#include "files/FileStatus.h"

#include <algorithm>
#include <cerrno>
#include <dirent.h>
#include <memory>
#include <string_view>
#include <tuple>
#include <utility>

namespace vellomir {
namespace {

struct CloseFolder {
    void operator()(DIR *folder) const { ::closedir(folder); }
};
using FolderStream = std::unique_ptr<DIR, CloseFolder>;

/// Null, with errno, if that fails.
FolderStream openFolderStream(int folder) {
    FileDescriptor copy = duplicate(folder);
    FolderStream stream(copy.isOpen() ? ::fdopendir(copy.get()) : nullptr);
    if (stream) {
        static_cast<void>(copy.release()); // the stream owns it now
        ::rewinddir(stream.get());         // the copy shares the position of the original
    }
    return stream;
}

/// Null at the end, and with errno if that fails.
const dirent *nextItem(DIR *stream) {
    errno = 0;
    return ::readdir(stream);
}

bool isDots(std::string_view name) {
    return name == "." || name == "..";
}

bool isFolder(int parent, const dirent &item) {
    if (item.d_type != DT_UNKNOWN)
        return item.d_type == DT_DIR;
    const auto status = statusOf({parent, item.d_name}, Links::refuse);
    return status && status->isFolder();
}

} // namespace

FolderListing listFolder(int folder) {
    FolderListing listing;
    if (const FolderStream stream = openFolderStream(folder)) {
        while (const dirent *item = nextItem(stream.get()))
            if (!isDots(item->d_name))
                listing.items.push_back({item->d_name, isFolder(folder, *item)});
        listing.systemError = errno;
    } else {
        listing.systemError = errno;
    }
    return listing;
}

std::vector<FolderItem> folderItems(int folder, const std::string &path) {
    FolderListing listing = listFolder(folder);
    if (listing.systemError != 0)
        throw readError(path, listing.systemError);
    return std::move(listing.items);
}

void sortForWalk(std::vector<FolderItem> &items, WalkLevel level) {
    // std::string compares the bytes of names as unsigned numbers, whatever the locale.
    const auto key = [level](const FolderItem &item) {
        const bool isFirst = level == WalkLevel::top && item.name == "Payload";
        return std::make_tuple(!isFirst, item.isFolder, std::string_view(item.name));
    };
    std::sort(items.begin(), items.end(), [&](const FolderItem &left, const FolderItem &right) {
        return key(left) < key(right);
    });
}

} // namespace vellomir
