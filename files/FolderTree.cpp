#include "files/FolderTree.h"

#include "files/Error.h"
#include "files/ItemAttributes.h"

#include <algorithm>
#include <cerrno>

namespace vellomir {
namespace {

/// If this fails, opening reports it.
void grantAccess(const ItemName &folder) {
    const FileDescriptor item = openFolder(folder, FolderUse::names);
    const auto status = item.isOpen() ? statusOf(item.get()) : std::nullopt;
    if (status && (status->mode() & S_IRWXU) != S_IRWXU)
        setPermissions(item, status->mode() | S_IRWXU);
}

} // namespace

FileDescriptor openForWalk(const ItemName &folder, const std::string &path, FolderAccess access) {
    if (access == FolderAccess::remove)
        grantAccess(folder);
    FileDescriptor opened = openFolder(folder, FolderUse::list);
    if (!opened.isOpen())
        throw readError(path, errno);
    return opened;
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
    FileDescriptor next = openForWalk({folder(), name}, path(name), access_);
    // The way back must be open too.
    if (!isAllowed(Permission::exist, {next.get(), ".."}))
        throw readError(path(name), errno);
    levels_.push_back(level(next, path(name)));
    folder_ = std::move(next);
    path_.append("/").append(name);
}

FolderTree::Event FolderTree::leave() {
    if (levels_.size() == 1)
        return {};
    FileDescriptor parent = openFolder({folder(), ".."}, FolderUse::list);
    if (!parent.isOpen())
        throw readError(path_, errno);
    levels_.pop_back();
    if (requireStatus(parent.get(), path_).identity() != levels_.back().identity)
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
    return {std::move(items), requireStatus(folder.get(), path).identity()};
}

} // namespace vellomir
