#include "files/FolderTree.h"

#include "files/Error.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>

namespace vellomir {
namespace {

/// If this fails, opening will say so.
void grantAccess(int parent, const std::string &name) {
    const FileDescriptor item(
        ::openat(parent, name.c_str(), O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    struct stat status {};
    if (item.isOpen() && ::fstat(item.get(), &status) == 0 && (status.st_mode & S_IRWXU) != S_IRWXU)
        changeMode(item, status.st_mode | S_IRWXU);
}

} // namespace

FileDescriptor openFolder(int parent, const std::string &name, const std::string &path,
                          FolderAccess access) {
    if (access == FolderAccess::remove)
        grantAccess(parent, name);
    FileDescriptor folder(::openat(parent, name.c_str(), listFlags));
    if (!folder.isOpen())
        throw readError(path, errno);
    return folder;
}

bool changeMode(const FileDescriptor &item, mode_t mode) {
    const std::string path = "/proc/self/fd/" + std::to_string(item.get());
    return ::chmod(path.c_str(), mode & 07777U) == 0;
}

FolderTree::FolderTree(FileDescriptor folder, std::string path, FolderAccess access,
                       ListFolder list)
    : folder_(std::move(folder)), path_(std::move(path)), access_(access), list_(std::move(list)) {
    levels_.push_back(level(folder_, path_));
}

FolderTree::Event FolderTree::next() {
    std::vector<FolderItem> &pending = levels_.back().pending;
    if (pending.empty())
        return leave();
    FolderItem item = std::move(pending.back());
    pending.pop_back();
    return {Step::foundItem, std::move(item)};
}

void FolderTree::enter(const std::string &name) {
    FileDescriptor next = openFolder(folder(), name, path(name), access_);
    // The way back must be open too.
    if (::faccessat(next.get(), "..", F_OK, 0) != 0)
        throw readError(path(name), errno);
    levels_.push_back(level(next, path(name)));
    folder_ = std::move(next);
    path_.append("/").append(name);
}

FolderTree::Event FolderTree::leave() {
    if (levels_.size() == 1)
        return {};
    FileDescriptor parent(::openat(folder(), "..", listFlags));
    if (!parent.isOpen())
        throw readError(path_, errno);
    levels_.pop_back();
    if (identity(parent, path_) != levels_.back().identity)
        throw Error(FileError::fileReadUnknown,
                    {.path = path_, .detail = "The folder was moved meanwhile"});
    folder_ = std::move(parent);
    const std::size_t slash = path_.rfind('/');
    Event event{Step::leftFolder, {path_.substr(slash + 1), true}};
    path_.erase(slash);
    return event;
}

FolderTree::Level FolderTree::level(const FileDescriptor &folder, const std::string &path) const {
    std::vector<FolderItem> items = list_(folder.get(), path);
    sortForWalk(items, levels_.empty() ? WalkLevel::top : WalkLevel::below);
    std::reverse(items.begin(), items.end());
    return {std::move(items), identity(folder, path)};
}

FolderTree::Identity FolderTree::identity(const FileDescriptor &folder, const std::string &path) {
    struct stat status {};
    if (::fstat(folder.get(), &status) != 0)
        throw readError(path, errno);
    return {status.st_dev, status.st_ino};
}

} // namespace vellomir
