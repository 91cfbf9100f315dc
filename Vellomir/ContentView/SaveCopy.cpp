#include "Vellomir/ContentView/SaveCopy.h"

#include "files/Error.h"
#include "files/FileCopy.h"
#include "files/FileStatus.h"
#include "files/ItemAttributes.h"
#include "files/PendingFile.h"

#include <cerrno>
#include <optional>

namespace vellomir {
namespace {

/// None if there is no such item.
std::optional<FileStatus> statusIfThere(const std::string &path, Links links) {
    auto status = statusOf(path, links);
    if (!status && errno != ENOENT)
        throw readError(path, errno);
    return status;
}

/// Whether an existing item may be replaced. A link to the file that is copied may: the file stays.
void requireReplaceable(const std::string &from, const std::string &to) {
    const auto existing = statusIfThere(to, Links::refuse);
    if (!existing)
        return;
    if (isSameItem(statusIfThere(from, Links::refuse), existing) ||
        isSameItem(statusIfThere(from, Links::follow), existing))
        throw Error(FileError::fileWriteFileExists,
                    {.path = to, .detail = "A file cannot be saved as a copy of itself"});
    if (!existing->isRegularFile() && !existing->isLink())
        throw Error(FileError::fileWriteFileExists,
                    {.path = to,
                     .detail = existing->isFolder() ? "A folder of this name is in the way"
                                                    : "Something that is no file is in the way"});
}

void throwIfCancelled(const archive::Progress *progress, const std::string &path) {
    if (progress != nullptr)
        progress->throwIfCancelled(path);
}

/// As far as the file system can: that of a memory stick knows no permissions.
void copyPermissions(const std::string &from, const std::string &to) {
    if (const auto source = statusIfThere(from, Links::follow))
        setPermissions(ItemName(to), source->permissions() & 0777U);
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
