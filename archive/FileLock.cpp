#include "archive/FileLock.h"

#include "archive/Archive.h"
#include "archive/Error.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <fstream>
#include <sstream>
#include <sys/file.h>
#include <sys/sysmacros.h>
#include <thread>

namespace archive {
namespace {

using ArchiveError = Archive::ArchiveError;
using std::chrono::steady_clock;

constexpr std::chrono::milliseconds pause{20};

/// The file as the kernel's list of locks spells it: "08:01:1234", device in hexadecimal digits.
std::string placeInLockList(const struct stat &status) {
    std::array<char, 64> text{};
    static_cast<void>(std::snprintf(text.data(), text.size(), "%02x:%02x:%llu",
                                    ::major(status.st_dev), ::minor(status.st_dev),
                                    static_cast<unsigned long long>(status.st_ino)));
    return text.data();
}

/// The process that holds a lock on the file: its number, or nothing if the system does not tell.
std::optional<pid_t> holder(int descriptor) {
    struct stat status {};
    if (::fstat(descriptor, &status) != 0)
        return std::nullopt;
    const std::string wanted = placeInLockList(status);
    std::ifstream locks("/proc/locks");
    for (std::string line; std::getline(locks, line);) {
        // "1: FLOCK  ADVISORY  WRITE 4242 08:01:1234 0 EOF"; who waits has "->" behind the number.
        std::istringstream words(line);
        std::string number;
        std::string kind;
        std::string strictness;
        std::string access;
        std::string place;
        pid_t process = 0;
        if (words >> number >> kind >> strictness >> access >> process >> place &&
            kind == "FLOCK" && place == wanted && process > 0)
            return process;
    }
    return std::nullopt;
}

std::string programName(pid_t process) {
    std::ifstream file("/proc/" + std::to_string(process) + "/comm");
    std::string name;
    std::getline(file, name);
    return name.empty() ? "another program" : name;
}

Error inUse(const std::string &path, int descriptor) {
    std::string text = "The archive is in use by ";
    if (const auto process = holder(descriptor))
        text += programName(*process) + " (process " + std::to_string(*process) + ")";
    else
        text += "another program";
    return Error(ArchiveError::unwritableArchive, {.path = path, .detail = std::move(text)});
}

Error replaced(const std::string &path) {
    return Error(ArchiveError::unwritableArchive,
                 {.path = path, .detail = "Another file has taken the archive's place meanwhile"});
}

/// A path is one name in the current folder, behind all links.
int statusFlags(const FilePlace &place) {
    return place.folder == AT_FDCWD ? 0 : AT_SYMLINK_NOFOLLOW;
}

int openFlags(const FilePlace &place) {
    return O_RDWR | O_CLOEXEC | O_NONBLOCK | (place.folder == AT_FDCWD ? 0 : O_NOFOLLOW);
}

FilePlace placeAt(const std::string &path) {
    return {.name = path, .path = path};
}

/// Whether the file of this name is the open file.
bool isAt(const FilePlace &place, int descriptor) {
    struct stat opened {};
    struct stat there {};
    return ::fstat(descriptor, &opened) == 0 &&
           ::fstatat(place.folder, place.name.c_str(), &there, statusFlags(place)) == 0 &&
           opened.st_dev == there.st_dev && opened.st_ino == there.st_ino;
}

FileDescriptor openLockedAt(const FilePlace &place, const std::function<FileDescriptor()> &open,
                            const LockWait &wait) {
    const auto deadline = steady_clock::now() + wait.patience;
    for (;;) {
        const bool isLast = steady_clock::now() >= deadline;
        FileDescriptor file = open();
        const LockAttempt attempt = tryToLock(file.get());
        // A lock on a file that was replaced meanwhile does not keep others out of the new one.
        if (attempt == LockAttempt::unsupported ||
            (attempt == LockAttempt::locked && isAt(place, file.get())))
            return file;
        if (isLast)
            throw inUse(place.path, file.get());
        if (wait.whileWaiting)
            wait.whileWaiting();
        if (attempt == LockAttempt::taken)
            std::this_thread::sleep_for(pause);
    }
}

} // namespace

LockAttempt tryToLock(int descriptor) {
    while (::flock(descriptor, LOCK_EX | LOCK_NB) != 0) {
        if (errno == EWOULDBLOCK)
            return LockAttempt::taken;
        if (errno != EINTR)
            return LockAttempt::unsupported;
    }
    return LockAttempt::locked;
}

FileIdentity::FileIdentity(int descriptor, const std::string &path) {
    if (::fstat(descriptor, &status_) != 0)
        throw readError(path, errno);
}

FileIdentity::FileIdentity(const std::string &path) : FileIdentity(placeAt(path)) {}

FileIdentity::FileIdentity(const FilePlace &place) {
    if (::fstatat(place.folder, place.name.c_str(), &status_, statusFlags(place)) != 0)
        throw readError(place.path, errno);
}

bool FileIdentity::isSameFile(const FileIdentity &other) const {
    return status_.st_dev == other.status_.st_dev && status_.st_ino == other.status_.st_ino;
}

bool operator==(const FileIdentity &left, const FileIdentity &right) {
    return left.isSameFile(right) && left.status_.st_size == right.status_.st_size &&
           left.status_.st_mtim.tv_sec == right.status_.st_mtim.tv_sec &&
           left.status_.st_mtim.tv_nsec == right.status_.st_mtim.tv_nsec;
}

void requireSameFile(const std::string &path, int descriptor) {
    if (!FileIdentity(path).isSameFile(FileIdentity(descriptor, path)))
        throw replaced(path);
}

void requireUnchanged(const std::string &path, const FileIdentity &expected) {
    requireUnchanged(placeAt(path), expected);
}

void requireUnchanged(const FilePlace &place, const FileIdentity &expected) {
    const FileIdentity found(place);
    if (!found.isSameFile(expected))
        throw replaced(place.path);
    if (found != expected)
        throw Error(
            ArchiveError::unwritableArchive,
            {.path = place.path, .detail = "Another program has changed the archive meanwhile"});
}

FileDescriptor openLocked(const std::string &path, const std::function<FileDescriptor()> &open,
                          const LockWait &wait) {
    return openLockedAt(placeAt(path), open, wait);
}

FileDescriptor openLockedForUpdate(const std::string &path, const LockWait &wait) {
    return openLockedForUpdate(placeAt(path), wait);
}

FileDescriptor openLockedForUpdate(const FilePlace &place, const LockWait &wait) {
    const auto open = [&] {
        FileDescriptor file(::openat(place.folder, place.name.c_str(), openFlags(place)));
        struct stat status {};
        const bool isKnown = file.isOpen() && ::fstat(file.get(), &status) == 0;
        if (isKnown ? !S_ISREG(status.st_mode) : errno == EISDIR)
            throw Error(ArchiveError::unwritableArchive,
                        {.path = place.path, .detail = "This is not a regular file"});
        if (!isKnown)
            throw writeError(place.path, errno);
        return file;
    };
    return openLockedAt(place, open, wait);
}

HeldFile::HeldFile(FilePlace place, const LockWait &wait)
    : place_(std::move(place)), descriptor_(openLockedForUpdate(place_, wait)),
      identity_(descriptor_.get(), place_.path) {}

HeldFile::HeldFile(const std::string &path, const LockWait &wait) : HeldFile(placeAt(path), wait) {}

FileDescriptor HeldFile::fromStart() const {
    FileDescriptor copy(::fcntl(descriptor_.get(), F_DUPFD_CLOEXEC, 0));
    if (!copy.isOpen() || ::lseek(copy.get(), 0, SEEK_SET) != 0)
        throw readError(place_.path, errno);
    return copy;
}

} // namespace archive
