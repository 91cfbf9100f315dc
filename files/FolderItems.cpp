#include "files/FolderItems.h"

#include "files/Error.h"
#include "files/FileDescriptor.h"

#include <algorithm>
#include <cerrno>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <string_view>
#include <sys/stat.h>
#include <tuple>

namespace vellomir {
namespace {

struct CloseFolder {
    void operator()(DIR *folder) const { ::closedir(folder); }
};
using FolderStream = std::unique_ptr<DIR, CloseFolder>;

FolderStream openStream(int folder, const std::string &path) {
    FileDescriptor copy(::fcntl(folder, F_DUPFD_CLOEXEC, 0));
    FolderStream stream(copy.isOpen() ? ::fdopendir(copy.get()) : nullptr);
    if (!stream)
        throw readError(path, errno);
    static_cast<void>(copy.release()); // belongs to the stream now
    ::rewinddir(stream.get());         // the copy shares the position of the original
    return stream;
}

const dirent *nextItem(DIR *stream, const std::string &path) {
    errno = 0;
    const dirent *item = ::readdir(stream);
    if (item == nullptr && errno != 0)
        throw readError(path, errno);
    return item;
}

bool isDots(std::string_view name) {
    return name == "." || name == "..";
}

bool isFolder(int parent, const dirent &item) {
    if (item.d_type != DT_UNKNOWN)
        return item.d_type == DT_DIR;
    struct stat status {};
    return ::fstatat(parent, item.d_name, &status, AT_SYMLINK_NOFOLLOW) == 0 &&
           S_ISDIR(status.st_mode);
}

} // namespace

std::vector<FolderItem> folderItems(int folder, const std::string &path) {
    const FolderStream stream = openStream(folder, path);
    std::vector<FolderItem> items;
    while (const dirent *item = nextItem(stream.get(), path))
        if (!isDots(item->d_name))
            items.push_back({item->d_name, isFolder(folder, *item)});
    return items;
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
