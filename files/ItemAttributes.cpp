#include "files/ItemAttributes.h"

#include "files/Error.h"

#include <array>
#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

namespace vellomir {
namespace {

using Times = std::array<timespec, 2>;

Times times(const timespec &modificationTime) {
    return {modificationTime, modificationTime};
}

/// Throws the error of the call that returned `result`.
void checkAttributeCall(int result, const std::string &path) {
    const bool isUnknown = errno == EPERM || errno == ENOTSUP || errno == ENOSYS;
    if (result != 0 && !isUnknown)
        throw writeError(path, errno);
}

/// Changing a folder by its descriptor needs one that is open for reading. A folder that may not be
/// read has none; it is reached by the path of the other descriptor.
FileDescriptor openForReading(const FileDescriptor &folder) {
    return openFolder({folder.get(), "."}, FolderUse::list);
}

} // namespace

void setFileAttributes(const FileDescriptor &file, const ItemAttributes &attributes,
                       const std::string &path) {
    checkAttributeCall(::fchmod(file.get(), attributes.permissions), path);
    checkAttributeCall(::futimens(file.get(), times(attributes.modificationTime).data()), path);
}

void setFolderAttributes(const FileDescriptor &folder, const ItemAttributes &attributes,
                         const std::string &path) {
    if (const FileDescriptor readable = openForReading(folder); readable.isOpen())
        return setFileAttributes(readable, attributes, path);
    const std::string name = descriptorPath(folder.get());
    checkAttributeCall(::chmod(name.c_str(), attributes.permissions), path);
    const Times moments = times(attributes.modificationTime);
    checkAttributeCall(::utimensat(currentFolder, name.c_str(), moments.data(), 0), path);
}

void setFolderPermissions(const FileDescriptor &folder, mode_t permissions,
                          const std::string &path) {
    const FileDescriptor readable = openForReading(folder);
    checkAttributeCall(readable.isOpen()
                           ? ::fchmod(readable.get(), permissions)
                           : ::chmod(descriptorPath(folder.get()).c_str(), permissions),
                       path);
}

void setLinkTime(const FileDescriptor &link, const ItemName &name, const timespec &modificationTime,
                 const std::string &path) {
    const Times moments = times(modificationTime);
    int result = ::utimensat(link.get(), "", moments.data(), AT_EMPTY_PATH);
    if (result != 0 && errno == EINVAL) // kernels before 5.8
        result = ::utimensat(name.folder(), name.name(), moments.data(), AT_SYMLINK_NOFOLLOW);
    checkAttributeCall(result, path);
}

bool setPermissions(const FileDescriptor &item, mode_t permissions) {
    permissions &= 07777U;
    if (::fchmod(item.get(), permissions) == 0)
        return true;
    return errno == EBADF && ::chmod(descriptorPath(item.get()).c_str(), permissions) == 0;
}

bool setPermissions(const ItemName &item, mode_t permissions) {
    return ::fchmodat(item.folder(), item.name(), permissions & 07777U, AT_SYMLINK_NOFOLLOW) == 0;
}

void takeOverAttributes(const FileDescriptor &file, const FileStatus &from,
                        const std::string &path) {
    // The owner first: changing it may clear permission bits. Only the superuser may give files
    // away; the group may still be one of the user's own.
    constexpr auto unchanged = static_cast<uid_t>(-1);
    if (::fchown(file.get(), from.owner(), from.group()) != 0)
        static_cast<void>(::fchown(file.get(), unchanged, from.group()) == 0);
    if (::fchmod(file.get(), from.permissions()) != 0)
        throw writeError(path, errno);
}

} // namespace vellomir
