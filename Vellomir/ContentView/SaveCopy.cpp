#include "Vellomir/ContentView/SaveCopy.h"

#include "archive/Archive.h"
#include "files/Error.h"
#include "files/FileCopy.h"
#include "files/PendingFile.h"

#include <cerrno>
#include <optional>
#include <sys/stat.h>

namespace vellomir {
namespace {

using StatusCall = int (*)(const char *, struct stat *);

std::optional<struct stat> status(StatusCall call, const std::string &path) {
    struct stat status {};
    if (call(path.c_str(), &status) == 0)
        return status;
    if (errno == ENOENT)
        return std::nullopt;
    throw readError(path, errno);
}

bool isSame(const std::optional<struct stat> &one, const struct stat &other) {
    return one && one->st_dev == other.st_dev && one->st_ino == other.st_ino;
}

/// Whether what is there may make room. A link to the file that is copied may: the file stays.
void requireReplaceable(const std::string &from, const std::string &to) {
    const auto existing = status(::lstat, to);
    if (!existing)
        return;
    if (isSame(status(::lstat, from), *existing) || isSame(status(::stat, from), *existing))
        throw Error(FileError::fileWriteFileExists,
                    {.path = to, .detail = "A file cannot be saved as a copy of itself"});
    if (!S_ISREG(existing->st_mode) && !S_ISLNK(existing->st_mode))
        throw Error(FileError::fileWriteFileExists,
                    {.path = to,
                     .detail = S_ISDIR(existing->st_mode)
                                   ? "A folder of this name is in the way"
                                   : "Something that is no file is in the way"});
}

void throwIfCancelled(const archive::Progress *progress, const std::string &path) {
    if (progress != nullptr && progress->isCancelled())
        throw Error(archive::Archive::ArchiveError::cancelledOperation, {.path = path});
}

/// As far as the file system can: that of a memory stick knows no permissions.
void copyPermissions(const std::string &from, const std::string &to) {
    if (const auto source = status(::stat, from))
        static_cast<void>(::chmod(to.c_str(), source->st_mode & 0777U));
}

} // namespace

void saveCopy(const archive::URL &from, const archive::URL &to, const archive::Progress *progress) {
    const std::string source = from.path();
    const std::string target = to.path();
    requireReplaceable(source, target);
    PendingFile pending(target);
    try {
        copyFile(source, pending.path(), [&](std::size_t) { throwIfCancelled(progress, source); });
        copyPermissions(source, pending.path());
        throwIfCancelled(progress, source);
        pending.place(Existing::replace);
    } catch (const Error &error) {
        if (error.path() != pending.path())
            throw;
        throw writeError(target, error.systemError());
    }
}

} // namespace vellomir
