#include "files/WorkingFolder.h"

#include "files/Error.h"
#include "files/FileLock.h"
#include "files/FileStatus.h"
#include "files/FolderChanges.h"
#include "files/FolderItems.h"
#include "files/ItemAttributes.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <exception>
#include <optional>
#include <random>
#include <unistd.h>
#include <vector>

namespace vellomir {
namespace {

constexpr std::string_view prefix = ".vellomir-";
constexpr std::string_view digits = "0123456789abcdef";
constexpr std::size_t digitCount = 16;
/// A name that no other program uses: a folder of the user with the name of a working folder is not
/// removed, because it holds no such file.
const std::string lockName = ".vellomir-lock";
constexpr mode_t ownerOnly = S_IRWXU;
constexpr int maxAttempts = 100;

std::string randomName() {
    std::random_device source;
    std::string name(prefix);
    for (std::size_t index = 0; index < digitCount; ++index)
        name += digits[source() % digits.size()];
    return name;
}

/// What is in an open folder, without the lock.
FolderListing contentOf(int folder) {
    FolderListing listing = listFolder(folder);
    std::erase_if(listing.items, [](const FolderItem &item) { return item.name == lockName; });
    return listing;
}

/// Removes a file. A folder is made accessible instead, never through a link. Whether it is no
/// folder.
bool removeUnlessFolder(int folder, const std::string &name) {
    if (removeFile({folder, name}) || errno != EISDIR)
        return true;
    setPermissions(ItemName(folder, name), ownerOnly);
    return false;
}

/// Moves a nested folder to the top, under a new name. Names may be taken, by an earlier removal
/// that was killed. None if that fails.
std::optional<std::string> moveToTop(const ItemName &folder, int top, unsigned &movedCount) {
    for (;;) {
        std::string target = "moved-" + std::to_string(++movedCount);
        if (renameItem(folder, {top, target}))
            return target;
        if (errno != EEXIST && errno != ENOTEMPTY && errno != ENOTDIR)
            return std::nullopt;
    }
}

/// Removes everything but the lock. A nested folder is moved to the top before it is emptied, so
/// that any depth can be removed.
void removeContent(int folder) {
    std::vector<FolderItem> pending = contentOf(folder).items;
    for (unsigned movedCount = 0; !pending.empty();) {
        const std::string name = std::move(pending.back().name);
        pending.pop_back();
        if (removeUnlessFolder(folder, name))
            continue;
        const FileDescriptor below = openFolder({folder, name}, FolderUse::list);
        for (const FolderItem &child : listFolder(below.get()).items) {
            if (removeUnlessFolder(below.get(), child.name))
                continue;
            if (auto target = moveToTop({below.get(), child.name}, folder, movedCount))
                pending.push_back({std::move(*target), true});
        }
        static_cast<void>(removeFolder({folder, name}));
    }
}

/// Removes a working folder. If something in it cannot be removed, its lock stays too: the next
/// attempt finds the folder by it.
void removeWorkingFolder(const ItemName &name, int folder) {
    removeContent(folder);
    const FolderListing rest = contentOf(folder);
    if (rest.systemError != 0 || !rest.items.empty())
        return;
    static_cast<void>(removeFile({folder, lockName}));
    static_cast<void>(removeFolder(name));
}

/// Whether this user made the folder.
bool isOwn(const FileDescriptor &folder) {
    const auto status = folder.isOpen() ? statusOf(folder.get()) : std::nullopt;
    return status && status->owner() == ::geteuid();
}

/// Gives the owner the rights that the umask may have taken, and keeps the other bits.
void makeAccessible(const ItemName &folder) {
    const auto status = statusOf(folder, Links::refuse);
    if (status && (status->mode() & ownerOnly) != ownerOnly)
        setPermissions(folder, status->mode() | ownerOnly);
}

void removeIfAbandoned(const ItemName &name) {
    const FileDescriptor folder = openFolder(name, FolderUse::list);
    if (!isOwn(folder))
        return;
    const FileDescriptor lock =
        openFile({folder.get(), lockName}, Access::readAndWrite, Links::refuse);
    if (!lock.isOpen() && errno == ENOENT) // killed before the lock was made, or just being made
        static_cast<void>(removeFolder(name));
    else if (lock.isOpen() && tryToLock(lock.get()) == LockAttempt::locked)
        removeWorkingFolder(name, folder.get());
}

FileDescriptor openParent(const std::string &path) {
    FileDescriptor parent = openFolder(path, FolderUse::list, Links::follow);
    if (!parent.isOpen() && errno == EACCES) // may be written, but not listed
        parent = openFolder(path, FolderUse::names, Links::follow);
    if (!parent.isOpen())
        throw readError(path, errno);
    return parent;
}

void removeAbandonedIn(int parent) {
    // A folder for names only cannot be listed, but may be readable.
    const FileDescriptor listed = openFolder({parent, "."}, FolderUse::list);
    for (const FolderItem &item : listFolder(listed.get()).items)
        if (WorkingFolder::isName(item.name))
            removeIfAbandoned({parent, item.name});
}

} // namespace

void WorkingFolder::removeAbandoned(const std::string &parent) {
    removeAbandonedIn(openParent(parent).get());
}

bool WorkingFolder::isName(std::string_view name) {
    return name.size() == prefix.size() + digitCount && name.starts_with(prefix) &&
           name.find_first_not_of(digits, prefix.size()) == std::string_view::npos;
}

WorkingFolder::WorkingFolder(const std::string &parent)
    : WorkingFolder(openParent(parent), parent) {}

WorkingFolder::WorkingFolder(FileDescriptor parent, const std::string &path)
    : parent_(std::move(parent)) {
    removeAbandonedIn(parent_.get());
    int error = EEXIST;
    for (int attempt = 0; attempt < maxAttempts; ++attempt) {
        if (make() == Outcome::made) {
            path_ = path + (path.ends_with('/') ? "" : "/") + name_;
            accessPath_ = descriptorPath(folder_.get());
            if (!isSameItem(statusOf(folder_.get()), statusOf(accessPath_, Links::follow)))
                accessPath_ = path_;
            return;
        }
        if (errno != EEXIST && errno != ENOENT)
            throw writeError(path, errno);
        error = errno;
    }
    throw Error(
        FileError::fileWriteUnknown,
        {.path = path, .detail = "No file can be made in this folder", .systemError = error});
}

std::string WorkingFolder::visiblePath(const std::string &path) const {
    const bool isInside = path == accessPath_ || path.starts_with(accessPath_ + '/');
    return isInside ? folderOf(path_) : path;
}

/// Lost, with errno, if the name is taken, or if another process removed the new folder as an
/// abandoned one before it was locked.
WorkingFolder::Outcome WorkingFolder::make() {
    name_ = randomName();
    const ItemName folder(parent_.get(), name_);
    if (!makeFolder(folder, ownerOnly))
        return Outcome::lost;
    makeAccessible(folder);
    folder_ = openFolder(folder, FolderUse::list);
    if (!folder_.isOpen())
        return discard();
    lock_ = createFile({folder_.get(), lockName}, Access::readAndWrite, S_IRUSR | S_IWUSR);
    if (!lock_.isOpen())
        return discard();
    const LockAttempt attempt = tryToLock(lock_.get());
    const auto status = statusOf(lock_.get());
    if (attempt != LockAttempt::taken && status && status->nameCount() > 0)
        return Outcome::made;
    errno = EEXIST;
    return discard();
}

/// Removes what was made, and keeps errno.
WorkingFolder::Outcome WorkingFolder::discard() {
    const int error = errno;
    if (folder_.isOpen())
        static_cast<void>(removeFile({folder_.get(), lockName}));
    static_cast<void>(removeFolder({parent_.get(), name_}));
    folder_ = FileDescriptor();
    errno = error;
    return Outcome::lost;
}

WorkingFolder::~WorkingFolder() {
    if (!folder_.isOpen())
        return;
    try {
        removeWorkingFolder({parent_.get(), name_}, folder_.get());
    } catch (const std::exception &) { // no memory: the next object in this folder removes it
    }
}

} // namespace vellomir
