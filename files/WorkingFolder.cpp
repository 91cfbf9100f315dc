#include "files/WorkingFolder.h"

#include "files/Error.h"
#include "files/FileLock.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cerrno>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <optional>
#include <random>
#include <sys/stat.h>
#include <vector>

namespace vellomir {
namespace {

constexpr std::string_view prefix = ".vellomir-";
constexpr std::string_view digits = "0123456789abcdef";
constexpr std::size_t digitCount = 16;
/// Nothing else is called so: a folder of the user's own that was given the name of a working
/// folder is not taken for one.
constexpr const char *lockName = ".vellomir-lock";
constexpr mode_t ownerOnly = S_IRWXU;
constexpr int maxAttempts = 100;

std::string randomName() {
    std::random_device source;
    std::string name(prefix);
    for (std::size_t index = 0; index < digitCount; ++index)
        name += digits[source() % digits.size()];
    return name;
}

struct CloseListing {
    void operator()(DIR *folder) const { ::closedir(folder); }
};

struct Listing {
    std::vector<std::string> names;
    bool isWhole = false;
};

/// What is in an open folder, as far as it can be listed.
Listing list(int folder) {
    Listing found;
    FileDescriptor again(::openat(folder, ".", listFlags));
    const std::unique_ptr<DIR, CloseListing> stream(::fdopendir(again.get()));
    if (!stream)
        return found;
    static_cast<void>(again.release()); // the stream's own from here on
    errno = 0;
    while (const dirent *item = ::readdir(stream.get()))
        if (const std::string name = item->d_name; name != "." && name != "..")
            found.names.push_back(name);
    found.isWhole = errno == 0;
    return found;
}

/// Removes what is no folder. A folder is made accessible instead, never through a link.
bool removeFile(int folder, const std::string &name) {
    if (::unlinkat(folder, name.c_str(), 0) == 0 || errno != EISDIR)
        return true;
    static_cast<void>(::fchmodat(folder, name.c_str(), ownerOnly, AT_SYMLINK_NOFOLLOW));
    return false;
}

/// Moves a nested folder to the top, under a new name. Names may be taken: an earlier removal was
/// killed. Nothing if that failed.
std::optional<std::string> moveToTop(int from, const std::string &name, int top,
                                     unsigned &movedCount) {
    for (;;) {
        std::string target = "moved-" + std::to_string(++movedCount);
        if (::renameat(from, name.c_str(), top, target.c_str()) == 0)
            return target;
        if (errno != EEXIST && errno != ENOTEMPTY && errno != ENOTDIR)
            return std::nullopt;
    }
}

/// Removes everything but the lock. A nested folder is moved to the top before it is emptied, so
/// that no depth is too large.
void removeContent(int folder) {
    std::vector<std::string> pending = list(folder).names;
    std::erase(pending, lockName);
    for (unsigned movedCount = 0; !pending.empty();) {
        const std::string name = std::move(pending.back());
        pending.pop_back();
        if (removeFile(folder, name))
            continue;
        const FileDescriptor below(::openat(folder, name.c_str(), listFlags));
        for (const std::string &child : list(below.get()).names) {
            if (removeFile(below.get(), child))
                continue;
            if (auto target = moveToTop(below.get(), child, folder, movedCount))
                pending.push_back(std::move(*target));
        }
        ::unlinkat(folder, name.c_str(), AT_REMOVEDIR);
    }
}

/// Without its lock a folder that holds something would stay for good: so the lock stays for the
/// next attempt, unless it is all that is left.
void removeFolder(int parent, const std::string &name, int folder) {
    removeContent(folder);
    Listing rest = list(folder);
    std::erase(rest.names, lockName);
    if (!rest.isWhole || !rest.names.empty())
        return;
    ::unlinkat(folder, lockName, 0);
    ::unlinkat(parent, name.c_str(), AT_REMOVEDIR);
}

/// Whether the folder is one that this user made.
bool isOwn(const FileDescriptor &folder) {
    struct stat status {};
    return folder.isOpen() && ::fstat(folder.get(), &status) == 0 && status.st_uid == ::geteuid();
}

/// Gives the owner the rights that the umask may have taken, and keeps the other bits.
void makeAccessible(int parent, const std::string &name) {
    struct stat status {};
    if (::fstatat(parent, name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0 &&
        (status.st_mode & ownerOnly) != ownerOnly)
        static_cast<void>(::fchmodat(parent, name.c_str(), (status.st_mode & 07777U) | ownerOnly,
                                     AT_SYMLINK_NOFOLLOW));
}

void removeIfAbandoned(int parent, const std::string &name) {
    const FileDescriptor folder(::openat(parent, name.c_str(), listFlags));
    if (!isOwn(folder))
        return;
    const FileDescriptor lock(
        ::openat(folder.get(), lockName, O_RDWR | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    if (!lock.isOpen() && errno == ENOENT) // killed before the lock was made, or just being made
        ::unlinkat(parent, name.c_str(), AT_REMOVEDIR);
    else if (lock.isOpen() && tryToLock(lock.get()) == LockAttempt::locked)
        removeFolder(parent, name, folder.get());
}

FileDescriptor openParent(const std::string &path) {
    FileDescriptor parent(::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!parent.isOpen() && errno == EACCES) // may be written, but not listed
        parent = FileDescriptor(::open(path.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    if (!parent.isOpen())
        throw readError(path, errno);
    return parent;
}

void removeAbandonedIn(int parent) {
    for (const std::string &name : list(parent).names)
        if (WorkingFolder::isName(name))
            removeIfAbandoned(parent, name);
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
    for (int attempt = 0; attempt < maxAttempts; ++attempt) {
        if (make() == Outcome::made) {
            path_ = path + (path.ends_with('/') ? "" : "/") + name_;
            accessPath_ = "/proc/self/fd/" + std::to_string(folder_.get());
            if (!isAt(accessPath_))
                accessPath_ = path_;
            return;
        }
        if (errno != EEXIST && errno != ENOENT)
            throw writeError(path, errno);
    }
    throw writeError(path, EEXIST);
}

bool WorkingFolder::isAt(const std::string &path) const {
    struct stat own {};
    struct stat there {};
    return ::fstat(folder_.get(), &own) == 0 && ::stat(path.c_str(), &there) == 0 &&
           own.st_dev == there.st_dev && own.st_ino == there.st_ino;
}

std::string WorkingFolder::withPath(std::string text) const {
    for (std::size_t start = text.find(accessPath_); start != std::string::npos;
         start = text.find(accessPath_, start)) {
        const std::size_t end = start + accessPath_.size();
        const bool isLonger =
            end < text.size() && std::isdigit(static_cast<unsigned char>(text[end])) != 0;
        if (!isLonger)
            text.replace(start, accessPath_.size(), path_);
        start += isLonger ? accessPath_.size() : path_.size();
    }
    return text;
}

/// Lost, with errno, if there is something of this name, or if another process took the new folder
/// for an abandoned one before it was locked.
WorkingFolder::Outcome WorkingFolder::make() {
    name_ = randomName();
    if (::mkdirat(parent_.get(), name_.c_str(), ownerOnly) != 0)
        return Outcome::lost;
    makeAccessible(parent_.get(), name_);
    folder_ = FileDescriptor(::openat(parent_.get(), name_.c_str(), listFlags));
    if (!folder_.isOpen())
        return discard();
    lock_ = FileDescriptor(::openat(folder_.get(), lockName,
                                    O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC,
                                    S_IRUSR | S_IWUSR));
    if (!lock_.isOpen())
        return discard();
    const LockAttempt attempt = tryToLock(lock_.get());
    struct stat status {};
    const bool isThere = ::fstat(lock_.get(), &status) == 0 && status.st_nlink > 0;
    if (attempt != LockAttempt::taken && isThere)
        return Outcome::made;
    errno = EEXIST;
    return discard();
}

/// Removes what was made, and keeps errno.
WorkingFolder::Outcome WorkingFolder::discard() {
    const int error = errno;
    if (folder_.isOpen())
        ::unlinkat(folder_.get(), lockName, 0);
    ::unlinkat(parent_.get(), name_.c_str(), AT_REMOVEDIR);
    folder_ = FileDescriptor();
    errno = error;
    return Outcome::lost;
}

WorkingFolder::~WorkingFolder() {
    if (!folder_.isOpen())
        return;
    try {
        removeFolder(parent_.get(), name_, folder_.get());
    } catch (const std::exception &) { // no memory: the next one in this folder removes it
    }
}

} // namespace vellomir
