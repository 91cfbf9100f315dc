#include "files/TargetFolder.h"

#include "files/Error.h"
#include "files/FileStatus.h"

#include <cerrno>
#include <optional>
#include <sys/statvfs.h>
#include <unistd.h>

namespace vellomir {
namespace {

/// Bytes that this user may still write; none if the system does not report them.
std::optional<std::uint64_t> freeRoom(std::string folder) {
    struct statvfs status {};
    while (::statvfs(folder.c_str(), &status) != 0) {
        const std::size_t slash = folder.find_last_of('/');
        if (slash == std::string::npos || folder == "/")
            return std::nullopt;
        folder.erase(slash == 0 ? 1 : slash);
    }
    if (status.f_blocks == 0)
        return std::nullopt; // a file system without a size
    const std::uint64_t blocks = ::geteuid() == 0 ? status.f_bfree : status.f_bavail;
    std::uint64_t bytes = 0;
    return __builtin_mul_overflow(blocks, status.f_frsize, &bytes) ? std::nullopt
                                                                   : std::optional(bytes);
}

} // namespace

void requireFolder(const std::string &folder) {
    const auto status = statusOf(folder, Links::follow);
    if (!status && (errno == ENOENT || errno == ENOTDIR))
        throw Error(FileError::fileReadNoSuchFile,
                    {.path = folder, .detail = "There is no such folder"});
    if (status && !status->isFolder())
        throw Error(FileError::fileReadNoSuchFile, {.path = folder, .detail = "This is no folder"});
}

void requireFolderTakesFiles(const std::string &folder) {
    if (!isAllowed(Permission::use, folder))
        throw writeError(folder, errno);
}

void requireFreeRoom(const std::string &folder, std::uint64_t bytes) {
    const auto room = freeRoom(folder);
    if (room && *room < bytes)
        throw Error(FileError::fileWriteOutOfSpace,
                    {.path = folder,
                     .detail = "There is not enough room: " + std::to_string(bytes) +
                               " bytes are needed, " + std::to_string(*room) + " are free",
                     .systemError = ENOSPC});
}

} // namespace vellomir
