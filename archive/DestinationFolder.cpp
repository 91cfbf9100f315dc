#include "archive/DestinationFolder.h"

#include "archive/Constants.h"
#include "archive/Error.h"

#include <array>
#include <cerrno>
#include <climits>
#include <cmath>
#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>

namespace archive {
namespace {

constexpr int folderFlags = O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;

std::array<timespec, 2> times(const Date &date) {
    const double seconds = std::floor(date.timeIntervalSince1970);
    const timespec moment{static_cast<time_t>(seconds),
                          static_cast<long>((date.timeIntervalSince1970 - seconds) * 1e9)};
    return {moment, moment};
}

/// Some file systems know neither modes nor times; the file itself is none the worse for it.
bool isBeyondFileSystem(int systemError) {
    return systemError == EPERM || systemError == ENOTSUP || systemError == ENOSYS;
}

void check(int result, const std::string &path) {
    if (result != 0 && !isBeyondFileSystem(errno))
        throw writeError(path, errno);
}

bool isLink(int folder, const std::string &name) {
    struct stat status {};
    return ::fstatat(folder, name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0 &&
           S_ISLNK(status.st_mode);
}

/// The first component, cut off the path.
std::string_view takeComponent(std::string_view &path) {
    const std::size_t end = std::min(path.find('/'), path.size());
    const std::string_view component = path.substr(0, end);
    path.remove_prefix(std::min(end + 1, path.size()));
    return component;
}

} // namespace

void DestinationFile::write(std::span<const std::byte> chunk) {
    while (!chunk.empty()) {
        const ssize_t count = ::write(descriptor_.get(), chunk.data(), chunk.size());
        if (count >= 0)
            chunk = chunk.subspan(static_cast<std::size_t>(count));
        else if (errno != EINTR)
            throw Error(Data::DataError::unwritableFile, {.path = path_, .systemError = errno});
    }
}

void DestinationFile::finish(const FileAttributes &attributes) {
    check(::fchmod(descriptor_.get(), attributes.posixPermissions), path_);
    check(::futimens(descriptor_.get(), times(attributes.modificationDate).data()), path_);
    if (::close(descriptor_.release()) != 0 && errno != EINTR)
        throw Error(Data::DataError::unwritableFile, {.path = path_, .systemError = errno});
}

DestinationFolder::DestinationFolder(const URL &url) : rootPath_(url.path()) {}

DestinationFile DestinationFolder::createFile(std::string_view path) {
    const Item place = item(path);
    FileDescriptor descriptor(::openat(place.folder, place.name.c_str(),
                                       O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
    if (!descriptor.isOpen())
        throw errno == EEXIST || errno == ENOSPC || errno == EDQUOT
            ? writeError(fullPath(path), errno)
            : Error(FileError::fileNoSuchFile, {.path = fullPath(path), .systemError = errno});
    return {std::move(descriptor), fullPath(path)};
}

void DestinationFolder::createDirectory(std::string_view path) {
    if (path.empty())
        return openRoot();
    const Item place = item(path);
    if (::mkdirat(place.folder, place.name.c_str(), 0777) == 0)
        return;
    struct stat status {};
    if (errno != EEXIST)
        throw writeError(fullPath(path), errno);
    if (::fstatat(place.folder, place.name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0 ||
        !S_ISDIR(status.st_mode))
        throw writeError(fullPath(path), EEXIST);
}

void DestinationFolder::createSymbolicLink(std::string_view path, const std::string &target,
                                           const Date &modificationDate) {
    const Item place = item(path);
    if (::symlinkat(target.c_str(), place.folder, place.name.c_str()) != 0)
        throw writeError(fullPath(path), errno);
    check(::utimensat(place.folder, place.name.c_str(), times(modificationDate).data(),
                      AT_SYMLINK_NOFOLLOW),
          fullPath(path));
}

void DestinationFolder::applyToDirectory(std::string_view path, const FileAttributes &attributes) {
    openRoot();
    const Item place = path.empty() ? Item{root_.get(), "."} : item(path);
    // The mode is set through the name, which was checked to be a folder's and no link's: opening
    // the folder would need a right to read it.
    check(::fchmodat(place.folder, place.name.c_str(), attributes.posixPermissions, 0),
          fullPath(path));
    check(::utimensat(place.folder, place.name.c_str(), times(attributes.modificationDate).data(),
                      AT_SYMLINK_NOFOLLOW),
          fullPath(path));
}

DestinationFolder::Item DestinationFolder::item(std::string_view path) {
    if (path.empty() || path.find('\0') != std::string_view::npos)
        throw Error(FileError::fileReadInvalidFileName,
                    {.path = fullPath(path), .detail = "The entry's name is no file name"});
    // Longer paths could be made, step by step, but no other program could open them.
    if (rootPath_.size() + 1 + path.size() >= PATH_MAX)
        throw writeError(fullPath(path), ENAMETOOLONG);
    const std::size_t slash = path.rfind('/');
    const bool isNested = slash != std::string_view::npos;
    return {openParent(isNested ? path.substr(0, slash) : std::string_view()),
            std::string(isNested ? path.substr(slash + 1) : path)};
}

int DestinationFolder::openParent(std::string_view parent) {
    openRoot();
    if (parent.empty())
        return root_.get();
    if (parent == parentPath_)
        return parent_.get();
    std::string_view rest = parent;
    int folder = root_.get();
    FileDescriptor opened;
    if (!parentPath_.empty() && parent.starts_with(parentPath_) &&
        parent[parentPath_.size()] == '/') {
        rest.remove_prefix(parentPath_.size() + 1);
        folder = parent_.get();
    }
    while (!rest.empty()) {
        const std::string name(takeComponent(rest));
        opened = openFolder(folder, name, parent.substr(0, parent.size() - rest.size()));
        folder = opened.get();
    }
    parent_ = std::move(opened);
    parentPath_ = parent;
    return parent_.get();
}

void DestinationFolder::openRoot() {
    if (root_.isOpen())
        return;
    std::error_code error;
    std::filesystem::create_directories(rootPath_, error);
    if (error)
        throw writeError(rootPath_, error.value());
    root_ = FileDescriptor(::open(rootPath_.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    if (!root_.isOpen())
        throw writeError(rootPath_, errno);
}

FileDescriptor DestinationFolder::openFolder(int parent, const std::string &name,
                                             std::string_view path) const {
    FileDescriptor folder(::openat(parent, name.c_str(), folderFlags));
    if (!folder.isOpen() && errno == ENOENT) {
        // The umask, and the folder above, must not change the mode of an implied folder.
        if (::mkdirat(parent, name.c_str(), defaultDirectoryPermissions) == 0)
            check(
                ::fchmodat(parent, name.c_str(), defaultDirectoryPermissions, AT_SYMLINK_NOFOLLOW),
                fullPath(path));
        else if (errno != EEXIST)
            throw writeError(fullPath(path), errno);
        folder = FileDescriptor(::openat(parent, name.c_str(), folderFlags));
    }
    const int systemError = errno;
    if (folder.isOpen())
        return folder;
    if (isLink(parent, name))
        throw Error(FileError::fileReadInvalidFileName,
                    {.path = fullPath(path), .detail = "The name leads through a link"});
    throw writeError(fullPath(path), systemError);
}

std::string DestinationFolder::fullPath(std::string_view path) const {
    return path.empty() ? rootPath_ : rootPath_ + '/' + std::string(path);
}

} // namespace archive
