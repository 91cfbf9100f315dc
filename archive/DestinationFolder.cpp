#include "archive/DestinationFolder.h"

#include "archive/Constants.h"
#include "archive/Error.h"
#include "files/FileContent.h"
#include "files/FolderChanges.h"
#include "files/ItemAttributes.h"
#include "files/TargetFolder.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cmath>
#include <optional>

namespace vellomir::archive {
namespace {

/// Nobody else may put anything into a folder that is being filled.
constexpr mode_t unfinishedFolderMode = 0700;

constexpr std::size_t maxFoldersAfterCancellation = 10'000;

bool isLink(const ItemName &item) {
    const auto status = statusOf(item, Links::refuse);
    return status && status->isLink();
}

bool isNotFolder(int systemError) {
    return systemError == ENOTDIR || systemError == ELOOP;
}

timespec time(const Date &date) {
    const double seconds = std::floor(date.timeIntervalSince1970);
    return {static_cast<time_t>(seconds),
            static_cast<long>((date.timeIntervalSince1970 - seconds) * 1e9)};
}

ItemAttributes itemAttributes(const FileAttributes &attributes) {
    return {attributes.posixPermissions, time(attributes.modificationDate)};
}

} // namespace

void DestinationFile::write(std::span<const std::byte> chunk) {
    if (observer_ != nullptr)
        observer_->willWrite();
    if (!writeFully(descriptor_.get(), chunk))
        throw Error(DataError::unwritableFile, {.path = path_, .systemError = errno});
}

void DestinationFile::finish(const FileAttributes &attributes) {
    setFileAttributes(descriptor_, itemAttributes(attributes), path_);
    if (!descriptor_.close())
        throw Error(DataError::unwritableFile, {.path = path_, .systemError = errno});
}

DestinationFolder::DestinationFolder(const URL &url) : rootPath_(url.path()) {}

DestinationFolder DestinationFolder::forAnotherThread() const {
    DestinationFolder other(URL::folder(rootPath_));
    other.rootPath_ = rootPath_;
    other.root_ = duplicate(root_.get());
    if (!other.root_.isOpen())
        throw writeError(rootPath_, errno);
    return other;
}

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
    FileDescriptor descriptor =
        ::vellomir::createFile(place.itemName(), Access::write, S_IRUSR | S_IWUSR);
    if (!descriptor.isOpen())
        throw errno == EEXIST ? writeError(fullPath(path), errno) : cannotOpen(errno);
    if (observer_ != nullptr)
        observer_->madeFile();
    return {std::move(descriptor), fullPath(path), observer_};
}

void DestinationFolder::createDirectory(std::string_view path, const FileAttributes &attributes) {
    openRoot();
    const Item place = path.empty() ? Item{root_.get(), "."} : item(path, MissingFolders::make);
    const bool isNew = !path.empty() && makeFolder(place.itemName(), unfinishedFolderMode);
    if (!path.empty() && !isNew && errno != EEXIST)
        throw writeError(fullPath(path), errno);
    const FileDescriptor folder = ::vellomir::openFolder(place.itemName(), FolderUse::names);
    const auto status = folder.isOpen() ? statusOf(folder.get()) : std::nullopt;
    if (!status)
        throw writeError(fullPath(path), isNotFolder(errno) ? EEXIST : errno);
    if (isNew && (status->mode() & unfinishedFolderMode) != unfinishedFolderMode)
        setFolderPermissions(folder, unfinishedFolderMode, fullPath(path)); // a hostile umask
    directories_.push_back({std::string(path), attributes, status->identity()});
}

void DestinationFolder::createSymbolicLink(std::string_view path, const std::string &target,
                                           const Date &modificationDate) {
    const Item place = item(path, MissingFolders::make);
    if (!makeLink(target, place.itemName()))
        throw writeError(fullPath(path), errno);
    const FileDescriptor link = openItem(place.itemName());
    const auto status = link.isOpen() ? statusOf(link.get()) : std::nullopt;
    if (!status && (link.isOpen() || errno != ENOENT))
        throw writeError(fullPath(path), errno);
    if (!status || !status->isLink())
        throw Error(FileError::fileWriteUnknown,
                    {.path = fullPath(path),
                     .detail = "Something else has taken the place of the link meanwhile"});
    setLinkTime(link, place.itemName(), time(modificationDate), fullPath(path));
}

void DestinationFolder::requireNothing(std::string_view path) {
    const Item place = item(path, MissingFolders::refuse);
    if (place.folder >= 0 && statusOf(place.itemName(), Links::refuse))
        throw writeError(fullPath(path), EEXIST);
}

void DestinationFolder::removeFile(std::string_view path) {
    const Item place = item(path, MissingFolders::refuse);
    const auto status =
        place.folder >= 0 ? statusOf(place.itemName(), Links::refuse) : std::nullopt;
    if (status && status->isRegularFile())
        static_cast<void>(::vellomir::removeFile(place.itemName()));
}

bool DestinationFolder::removeEmptyFolder(std::string_view path) {
    const Item place = item(path, MissingFolders::refuse);
    return place.folder < 0 || removeFolder(place.itemName()) || errno == ENOENT;
}

void DestinationFolder::forgetParents() {
    for (Parent &each : parents_)
        each = {};
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
            progress->throwIfCancelled();
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
    const FileDescriptor folder = place.folder < 0
                                      ? FileDescriptor()
                                      : ::vellomir::openFolder(place.itemName(), FolderUse::names);
    if (!folder.isOpen() && errno != ENOENT && !isNotFolder(errno))
        throw writeError(path, errno);
    const auto status = folder.isOpen() ? statusOf(folder.get()) : std::nullopt;
    if (!status || status->identity() != directory.identity)
        throw Error(
            FileError::fileWriteUnknown,
            {.path = path, .detail = "Something else has taken the place of the folder meanwhile"});
    setFolderAttributes(folder, itemAttributes(directory.attributes), path);
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
        root_ = ::vellomir::openFolder(rootPath_, FolderUse::names, Links::follow);
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
    makeFolders(rootPath_, rootPath_);
    root_ = ::vellomir::openFolder(rootPath_, FolderUse::names, Links::follow);
    if (!root_.isOpen())
        throw writeError(rootPath_, errno);
}

FileDescriptor DestinationFolder::openFolder(int parent, const std::string &name,
                                             std::string_view path) const {
    const bool isNew = makeFolder({parent, name}, defaultDirectoryPermissions);
    if (!isNew && errno != EEXIST)
        throw writeError(fullPath(path), errno);
    if (isNew && observer_ != nullptr)
        observer_->madeFolder(path);
    FileDescriptor folder = ::vellomir::openFolder({parent, name}, FolderUse::names);
    const int systemError = errno;
    if (!folder.isOpen() && isLink({parent, name}))
        throw Error(FileError::fileReadInvalidFileName,
                    {.path = fullPath(path), .detail = "The name leads through a link"});
    if (!folder.isOpen())
        throw writeError(fullPath(path), systemError);
    // The umask, and the folder above, must not change the mode of an implied folder.
    const auto status = isNew ? statusOf(folder.get()) : std::nullopt;
    if (status && status->permissions() != defaultDirectoryPermissions)
        setFolderPermissions(folder, defaultDirectoryPermissions, fullPath(path));
    return folder;
}

std::string DestinationFolder::fullPath(std::string_view path) const {
    if (path.empty())
        return rootPath_;
    return rootPath_ + (rootPath_.ends_with('/') ? "" : "/") + std::string(path);
}

} // namespace vellomir::archive
