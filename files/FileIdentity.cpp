#include "files/FileIdentity.h"

#include "files/Error.h"

#include <cerrno>

namespace vellomir {
namespace {

/// A path is one name in the current folder, behind all links.
int statusFlags(const FilePlace &place) {
    return place.folder == AT_FDCWD ? 0 : AT_SYMLINK_NOFOLLOW;
}

} // namespace

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

bool isFileAt(const FilePlace &place, int descriptor) {
    struct stat opened {};
    struct stat there {};
    return ::fstat(descriptor, &opened) == 0 &&
           ::fstatat(place.folder, place.name.c_str(), &there, statusFlags(place)) == 0 &&
           opened.st_dev == there.st_dev && opened.st_ino == there.st_ino;
}

} // namespace vellomir
