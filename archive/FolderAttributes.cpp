#include "archive/FolderAttributes.h"

#include "archive/Error.h"
#include "files/FileDescriptor.h"

#include <cerrno>
#include <cmath>
#include <fcntl.h>
#include <sys/stat.h>

namespace vellomir::archive {
namespace {

/// The item is complete without its mode and times.
bool isUnknownToFileSystem(int systemError) {
    return systemError == EPERM || systemError == ENOTSUP || systemError == ENOSYS;
}

/// Changing a folder through its descriptor needs one that is open for reading. A folder that may
/// not be read has none; the system's own name for the descriptor leads to the same folder.
std::string descriptorPath(int folder) {
    return "/proc/self/fd/" + std::to_string(folder);
}

FileDescriptor openForReading(int folder) {
    return FileDescriptor(::openat(folder, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
}

} // namespace

std::array<timespec, 2> times(const Date &date) {
    const double seconds = std::floor(date.timeIntervalSince1970);
    const timespec moment{static_cast<time_t>(seconds),
                          static_cast<long>((date.timeIntervalSince1970 - seconds) * 1e9)};
    return {moment, moment};
}

void checkAttributeCall(int result, const std::string &path) {
    if (result != 0 && !isUnknownToFileSystem(errno))
        throw writeError(path, errno);
}

void applyToFolder(int folder, const FileAttributes &attributes, const std::string &path) {
    const auto moments = times(attributes.modificationDate);
    if (const FileDescriptor readable = openForReading(folder); readable.isOpen()) {
        checkAttributeCall(::fchmod(readable.get(), attributes.posixPermissions), path);
        checkAttributeCall(::futimens(readable.get(), moments.data()), path);
        return;
    }
    const std::string name = descriptorPath(folder);
    checkAttributeCall(::chmod(name.c_str(), attributes.posixPermissions), path);
    checkAttributeCall(::utimensat(AT_FDCWD, name.c_str(), moments.data(), 0), path);
}

void setFolderMode(int folder, mode_t mode, const std::string &path) {
    const FileDescriptor readable = openForReading(folder);
    checkAttributeCall(readable.isOpen() ? ::fchmod(readable.get(), mode)
                                         : ::chmod(descriptorPath(folder).c_str(), mode),
                       path);
}

} // namespace vellomir::archive
