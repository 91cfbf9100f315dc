#include "archive/DestinationFolder.h"

#include "archive/Constants.h"
#include "archive/Error.h"
#include "archive/FolderAttributes.h"
#include "files/FreeRoom.h"
#include "files/OpenBelow.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <fcntl.h>
#include <filesystem>
#include <optional>
#include <sys/stat.h>

namespace vellomir::archive {
namespace {

/// Nobody else may put anything into a folder that is being filled.
constexpr mode_t unfinishedFolderMode = 0700;

constexpr std::size_t maxFoldersAfterCancellation = 10'000;

bool isLink(int folder, const std::string &name) {
    struct stat status {};
    return ::fstatat(folder, name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0 &&
           S_ISLNK(status.st_mode);
}

bool isNotFolder(int systemError) {
    return systemError == ENOTDIR || systemError == ELOOP;
}

} // namespace

void DestinationFile::write(std::span<const std::byte> chunk) {
    while (!chunk.empty()) {
        const ssize_t count = ::write(descriptor_.get(), chunk.data(), chunk.size());
        if (count >= 0)
            chunk = chunk.subspan(static_cast<std::size_t>(count));
        else if (errno != EINTR)
            throw Error(DataError::unwritableFile, {.path = path_, .systemError = errno});
    }
}

void DestinationFile::finish(const FileAttributes &attributes) {
    checkAttributeCall(::fchmod(descriptor_.get(), attributes.posixPermissions), path_);
    checkAttributeCall(::futimens(descriptor_.get(), times(attributes.modificationDate).data()),
                       path_);
    if (::close(descriptor_.release()) != 0 && errno != EINTR)
        throw Error(DataError::unwritableFile, {.path = path_, .systemError = errno});
}

DestinationFolder::DestinationFolder(const URL &url) : rootPath_(url.path()) {}

void DestinationFolder::requireRoom(std::uint64_t bytes) const {
    requireFreeRoom(rootPath_, bytes);
}

DestinationFile DestinationFolder::createFile(std::string_view path) {
    const auto cannotOpen = [&](int systemError) {
        return Error(FileError::fileNoSuchFile,
                     {.path = fullPath(path), .systemError = systemError});
    };
    if (isTooLong(path))
        throw cannotOpen(ENAMETOOLONG);
    const Item place = item(path, MissingFolders::make);
    FileDescriptor descriptor(::openat(place.folder, place.name.c_str(),
                                       O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
    if (!descriptor.isOpen())
        throw errno == EEXIST ? writeError(fullPath(path), errno) : cannotOpen(errno);
    return {std::move(descriptor), fullPath(path)};
}

void DestinationFolder::createDirectory(std::string_view path, const FileAttributes &attributes) {
    openRoot();
    const Item place = path.empty() ? Item{root_.get(), "."} : item(path, MissingFolders::make);
    const bool isNew =
        !path.empty() && ::mkdirat(place.folder, place.name.c_str(), unfinishedFolderMode) == 0;
    if (!path.empty() && !isNew && errno != EEXIST)
        throw writeError(fullPath(path), errno);
    const FileDescriptor folder(::openat(place.folder, place.name.c_str(), folderFlags));
    struct stat status {};
    if (!folder.isOpen() || ::fstat(folder.get(), &status) != 0)
        throw writeError(fullPath(path), isNotFolder(errno) ? EEXIST : errno);
    if (isNew && (status.st_mode & unfinishedFolderMode) != unfinishedFolderMode)
        setFolderMode(folder.get(), unfinishedFolderMode, fullPath(path)); // a hostile umask
    directories_.push_back({std::string(path), attributes, status.st_dev, status.st_ino});
}

void DestinationFolder::createSymbolicLink(std::string_view path, const std::string &target,
                                           const Date &modificationDate) {
    const Item place = item(path, MissingFolders::make);
    if (::symlinkat(target.c_str(), place.folder, place.name.c_str()) != 0)
        throw writeError(fullPath(path), errno);
    const FileDescriptor link(
        ::openat(place.folder, place.name.c_str(), O_PATH | O_NOFOLLOW | O_CLOEXEC));
    struct stat status {};
    if (link.isOpen() ? ::fstat(link.get(), &status) != 0 : errno != ENOENT)
        throw writeError(fullPath(path), errno);
    if (!S_ISLNK(status.st_mode))
        throw Error(FileError::fileWriteUnknown,
                    {.path = fullPath(path),
                     .detail = "Something else has taken the place of the link meanwhile"});
    const auto moments = times(modificationDate);
    int result = ::utimensat(link.get(), "", moments.data(), AT_EMPTY_PATH);
    if (result != 0 && errno == EINVAL) // kernels before 5.8
        result = ::utimensat(place.folder, place.name.c_str(), moments.data(), AT_SYMLINK_NOFOLLOW);
    checkAttributeCall(result, fullPath(path));
}

void DestinationFolder::requireNothing(std::string_view path) {
    const Item place = item(path, MissingFolders::refuse);
    struct stat status {};
    if (place.folder >= 0 &&
        ::fstatat(place.folder, place.name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0)
        throw writeError(fullPath(path), EEXIST);
}

void DestinationFolder::finishDirectories(const Progress *progress) {
    std::stable_sort(directories_.begin(), directories_.end(),
                     [](const Directory &left, const Directory &right) {
                         return left.path.size() > right.path.size();
                     });
    std::optional<Error> firstError;
    std::size_t left = maxFoldersAfterCancellation;
    for (const Directory &directory : directories_) {
        if (progress != nullptr && progress->isCancelled() && left-- == 0)
            throw Error(ArchiveError::cancelledOperation);
        try {
            finish(directory);
        } catch (const Error &error) {
            if (!firstError)
                firstError = error;
        }
    }
    if (firstError)
        throw Error(*firstError);
}

void DestinationFolder::finish(const Directory &directory) {
    const std::string path = fullPath(directory.path);
    const Item place = directory.path.empty() ? Item{root_.get(), "."}
                                              : item(directory.path, MissingFolders::refuse);
    const FileDescriptor folder(
        place.folder < 0 ? -1 : ::openat(place.folder, place.name.c_str(), folderFlags));
    if (!folder.isOpen() && errno != ENOENT && !isNotFolder(errno))
        throw writeError(path, errno);
    if (!isSame(directory, folder))
        throw Error(
            FileError::fileWriteUnknown,
            {.path = path, .detail = "Something else has taken the place of the folder meanwhile"});
    applyToFolder(folder.get(), directory.attributes, path);
}

bool DestinationFolder::isSame(const Directory &directory, const FileDescriptor &folder) const {
    struct stat status {};
    return folder.isOpen() && ::fstat(folder.get(), &status) == 0 &&
           status.st_dev == directory.device && status.st_ino == directory.inode;
}

bool DestinationFolder::isTooLong(std::string_view path) const {
    // Longer paths could be made, step by step, but no other program could open them.
    return rootPath_.size() + 1 + path.size() >= PATH_MAX;
}

DestinationFolder::Item DestinationFolder::item(std::string_view path,
                                                MissingFolders missingFolders) {
    if (path.empty() || path.find('\0') != std::string_view::npos)
        throw Error(FileError::fileReadInvalidFileName,
                    {.path = fullPath(path), .detail = "The entry's name is no file name"});
    if (isTooLong(path))
        throw writeError(fullPath(path), ENAMETOOLONG);
    const std::size_t slash = path.rfind('/');
    const bool isNested = slash != std::string_view::npos;
    return {openParent(isNested ? path.substr(0, slash) : std::string_view(), missingFolders),
            std::string(isNested ? path.substr(slash + 1) : path)};
}

/// −1 if it is missing and must not be made.
int DestinationFolder::openParent(std::string_view parent, MissingFolders missingFolders) {
    if (!root_.isOpen() && missingFolders == MissingFolders::refuse) {
        // The destination itself may exist already.
        root_ = FileDescriptor(::open(rootPath_.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
        if (!root_.isOpen())
            return -1;
    }
    openRoot();
    if (parent.empty())
        return root_.get();
    for (const Parent &each : parents_)
        if (each.path == parent)
            return each.folder.get();
    FileDescriptor opened = openBelow(root_.get(), std::string(parent));
    if (!opened.isOpen() && missingFolders == MissingFolders::refuse)
        return -1;
    if (!opened.isOpen())
        opened = makeParent(parent);
    Parent &place = parents_.at(nextParent_);
    nextParent_ = (nextParent_ + 1) % parents_.size();
    place = {std::string(parent), std::move(opened)};
    return place.folder.get();
}

/// Makes what is missing below the deepest folder that is there.
FileDescriptor DestinationFolder::makeParent(std::string_view parent) const {
    FileDescriptor opened;
    std::size_t end = parent.rfind('/');
    while (end != std::string_view::npos && !opened.isOpen()) {
        opened = openBelow(root_.get(), std::string(parent.substr(0, end)));
        if (!opened.isOpen())
            end = parent.substr(0, end).rfind('/');
    }
    std::size_t start = opened.isOpen() ? end + 1 : 0;
    while (start < parent.size()) {
        end = std::min(parent.find('/', start), parent.size());
        opened = openFolder(opened.isOpen() ? opened.get() : root_.get(),
                            std::string(parent.substr(start, end - start)), parent.substr(0, end));
        start = end + 1;
    }
    return opened;
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
    const bool isNew = ::mkdirat(parent, name.c_str(), defaultDirectoryPermissions) == 0;
    if (!isNew && errno != EEXIST)
        throw writeError(fullPath(path), errno);
    FileDescriptor folder(::openat(parent, name.c_str(), folderFlags));
    const int systemError = errno;
    if (!folder.isOpen() && isLink(parent, name))
        throw Error(FileError::fileReadInvalidFileName,
                    {.path = fullPath(path), .detail = "The name leads through a link"});
    if (!folder.isOpen())
        throw writeError(fullPath(path), systemError);
    struct stat status {};
    // The umask, and the folder above, must not change the mode of an implied folder.
    if (isNew && ::fstat(folder.get(), &status) == 0 &&
        (status.st_mode & 07777U) != defaultDirectoryPermissions)
        setFolderMode(folder.get(), defaultDirectoryPermissions, fullPath(path));
    return folder;
}

std::string DestinationFolder::fullPath(std::string_view path) const {
    if (path.empty())
        return rootPath_;
    return rootPath_ + (rootPath_.ends_with('/') ? "" : "/") + std::string(path);
}

} // namespace vellomir::archive
