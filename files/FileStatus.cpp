#include "files/FileStatus.h"

#include "files/Error.h"

#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

namespace vellomir {
namespace {

int accessMode(Permission permission) {
    switch (permission) {
    case Permission::read:
        return R_OK;
    case Permission::write:
        return W_OK;
    case Permission::execute:
        return X_OK;
    case Permission::use:
        return W_OK | X_OK;
    case Permission::exist:
        break;
    }
    return F_OK;
}

} // namespace

std::optional<FileStatus> statusOf(int descriptor) {
    struct stat status {};
    if (::fstat(descriptor, &status) != 0)
        return std::nullopt;
    return FileStatus(status);
}

std::optional<FileStatus> statusOf(const ItemName &item, Links links) {
    struct stat status {};
    const int flags = links == Links::refuse ? AT_SYMLINK_NOFOLLOW : 0;
    if (::fstatat(item.folder(), item.name(), &status, flags) != 0)
        return std::nullopt;
    return FileStatus(status);
}

FileStatus requireStatus(int descriptor, const std::string &path) {
    const auto status = statusOf(descriptor);
    if (!status)
        throw readError(path, errno);
    return *status;
}

FileStatus requireStatus(const ItemName &item, Links links, const std::string &path) {
    const auto status = statusOf(item, links);
    if (!status)
        throw readError(path, errno);
    return *status;
}

bool isSameItem(const std::optional<FileStatus> &left, const std::optional<FileStatus> &right) {
    return left && right && left->identity() == right->identity();
}

FileIdentity::FileIdentity(int descriptor, const std::string &path)
    : status_(requireStatus(descriptor, path)) {}

FileIdentity::FileIdentity(const std::string &path) : FileIdentity(placeAt(path)) {}

FileIdentity::FileIdentity(const FilePlace &place)
    : status_(requireStatus(place, place.links(), place.path)) {}

bool FileIdentity::isSameFile(const FileIdentity &other) const {
    return status_.identity() == other.status_.identity();
}

bool operator==(const FileIdentity &left, const FileIdentity &right) {
    const timespec one = left.status_.modificationTime();
    const timespec other = right.status_.modificationTime();
    return left.isSameFile(right) && left.status_.size() == right.status_.size() &&
           one.tv_sec == other.tv_sec && one.tv_nsec == other.tv_nsec;
}

bool isAllowed(Permission permission, const ItemName &item) {
    return ::faccessat(item.folder(), item.name(), accessMode(permission), AT_EACCESS) == 0;
}

std::optional<std::string> readLink(const ItemName &link) {
    std::string target(256, '\0');
    for (;;) {
        const ssize_t length =
            ::readlinkat(link.folder(), link.name(), target.data(), target.size());
        if (length < 0)
            return std::nullopt;
        const bool isWhole = static_cast<std::size_t>(length) < target.size();
        target.resize(isWhole ? static_cast<std::size_t>(length) : target.size() * 2);
        if (isWhole)
            return target;
    }
}

} // namespace vellomir
