#include "archive/ArchiveLock.h"

#include "archive/Archive.h"
#include "archive/Error.h"
#include "files/FileContent.h"
#include "files/FileLock.h"

#include <cerrno>
#include <thread>

namespace vellomir::archive {
namespace {

using ArchiveError = Archive::ArchiveError;
using std::chrono::steady_clock;

constexpr std::chrono::milliseconds pause{20};

Error inUse(const std::string &path, int descriptor) {
    std::string text = "The archive is in use by ";
    if (const auto process = lockHolder(descriptor))
        text += programName(*process) + " (process " + std::to_string(*process) + ")";
    else
        text += "another program";
    return Error(ArchiveError::unwritableArchive, {.path = path, .detail = std::move(text)});
}

Error replaced(const std::string &path) {
    return Error(ArchiveError::unwritableArchive,
                 {.path = path, .detail = "Another file has taken the archive's place meanwhile"});
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
            (attempt == LockAttempt::locked &&
             isSameItem(statusOf(file.get()), statusOf(place, place.links()))))
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

void requireSameFile(const std::string &path, int descriptor) {
    if (!FileIdentity(path).isSameFile(FileIdentity(descriptor, path)))
        throw replaced(path);
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

FileDescriptor openLockedForUpdate(const FilePlace &place, const LockWait &wait) {
    const auto open = [&] {
        FileDescriptor file = openFile(place, Access::readAndWrite, place.links());
        const auto status = file.isOpen() ? statusOf(file.get()) : std::nullopt;
        if (status ? !status->isRegularFile() : errno == EISDIR)
            throw Error(ArchiveError::unwritableArchive,
                        {.path = place.path, .detail = "This is not a regular file"});
        if (!status)
            throw writeError(place.path, errno);
        return file;
    };
    return openLockedAt(place, open, wait);
}

} // namespace vellomir::archive
