#include "archive/FileItem.h"

#include "archive/BufferSize.h"
#include "archive/EntryTarget.h"
#include "files/FileContent.h"
#include "files/FileDescriptor.h"

#include <algorithm>
#include <cerrno>
#include <memory>

namespace vellomir::archive {
namespace {

/// Opens a file for reading; never waits, not even for a pipe that took its place.
FileDescriptor openForReading(const ItemName &item, const std::string &path) {
    FileDescriptor descriptor = openFile(item, Access::read, Links::refuse);
    if (descriptor.isOpen())
        return descriptor;
    if (errno == EACCES || errno == EPERM)
        throw readError(path, errno);
    throw Error(FileError::fileNoSuchFile, {.path = path, .systemError = errno});
}

/// The folder that the item at the path is in. Not open, and errno, if that failed.
FileDescriptor openFolderOf(const std::string &path) {
    const std::size_t slash = path.rfind('/');
    const std::string folder = slash == std::string::npos ? "." : path.substr(0, slash + 1);
    return openFolder(folder, FolderUse::names, Links::follow);
}

/// Reads an open file from its beginning to the size it had when it was opened.
class FileProvider {
public:
    FileProvider(const FileDescriptor &descriptor, const std::string &path, std::int64_t size,
                 std::int64_t bufferSize)
        : path_(path), descriptor_(descriptor),
          capacity_(static_cast<std::size_t>(std::clamp<std::int64_t>(size, 0, bufferSize))),
          buffer_(makeBuffer(capacity_)) {}

    std::span<const std::byte> operator()(std::int64_t /*position*/, std::size_t size) {
        const auto chunk = std::span(buffer_.get(), std::min(size, capacity_));
        const auto count = readInto(descriptor_.get(), chunk);
        if (!count)
            throw Error(Data::DataError::unreadableFile, {.path = path_, .systemError = errno});
        if (*count < chunk.size())
            throw Error(Data::DataError::unreadableFile,
                        {.path = path_, .detail = "The file became shorter while it was read"});
        return chunk;
    }

private:
    const std::string &path_;
    const FileDescriptor &descriptor_;
    std::size_t capacity_;
    std::unique_ptr<std::byte[]> buffer_;
};

std::span<const std::byte> nothing(std::int64_t /*position*/, std::size_t /*size*/) {
    return {};
}

} // namespace

FileItem::FileItem(const URL &url) : folder_(currentFolder), name_(url.path()), path_(name_) {
    if (!url.isFileURL())
        throw Error(FileError::fileReadNoSuchFile, {.path = path_});
    const std::string name = url.lastPathComponent();
    if (name.empty() || name == "." || name == "..") { // a folder, which is not read
        look();
        return;
    }
    name_ = name;
    const FileDescriptor opened = openFolderOf(path_);
    const auto status = opened.isOpen() ? statusOf(opened.get()) : std::nullopt;
    if (!status)
        throwMissing();
    identity_ = status->identity();
    folder_ = opened.get();
    look();
    folder_ = currentFolder;
}

FileItem::FileItem(int folder, std::string name, std::string path)
    : folder_(folder), name_(std::move(name)), path_(std::move(path)) {
    look();
}

void FileItem::look() {
    const auto status = statusOf({folder_, name_}, Links::refuse);
    if (!status)
        throwMissing();
    status_ = *status;
}

void FileItem::throwMissing() const {
    throw Error(FileError::fileReadNoSuchFile,
                {.path = path_, .systemError = errno == ENOENT ? 0 : errno});
}

Date FileItem::modificationDate() const {
    const timespec time = status_.modificationTime();
    return {static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9};
}

std::int64_t FileItem::size() const {
    if (status_.size() < 0)
        throw Error(FileError::fileReadTooLarge, {.path = path_});
    return status_.size();
}

void FileItem::add(EntryTarget &target, std::string path, const AddOptions &options) const {
    if (!identity_)
        return addFromFolder(target, std::move(path), options);
    const FileDescriptor folder = openFolderOf(path_);
    const auto status = folder.isOpen() ? statusOf(folder.get()) : std::nullopt;
    if (!status)
        throw readError(path_, errno);
    if (status->identity() != *identity_)
        throw Error(FileError::fileReadUnknown,
                    {.path = path_,
                     .detail = "Another folder has taken the place of the item's meanwhile"});
    FileItem item = *this;
    item.folder_ = folder.get();
    item.addFromFolder(target, std::move(path), options);
}

void FileItem::addFromFolder(EntryTarget &target, std::string path,
                             const AddOptions &options) const {
    requireBufferSize(options.bufferSize);
    switch (type()) {
    case Entry::EntryType::file:
        return addFile(target, path, options);
    case Entry::EntryType::symlink:
        return addSymbolicLink(target, path, options);
    case Entry::EntryType::directory:
        break;
    }
    if (!isAllowed(Permission::read, {folder_, name_}))
        throw readError(path_, errno);
    if (!path.ends_with('/'))
        path += '/';
    target.add(path, type(), 0, modificationDate(), permissions(), nothing, options);
}

void FileItem::requireRegular() const {
    if (!status_.isRegularFile())
        throw Error(FileError::fileReadUnknown,
                    {.path = path_, .detail = "The item is no file, no folder and no link"});
}

void FileItem::addFile(EntryTarget &target, const std::string &path,
                       const AddOptions &options) const {
    requireRegular();
    const FileDescriptor descriptor = openForReading({folder_, name_}, path_);
    FileItem opened = *this; // with the size, mode and date of what was opened
    opened.status_ = requireStatus(descriptor.get(), path_);
    opened.requireRegular();
    FileProvider provider(descriptor, path_, opened.size(), options.bufferSize);
    target.add(path, type(), opened.size(), opened.modificationDate(), opened.permissions(),
               std::ref(provider), options);
}

void FileItem::addSymbolicLink(EntryTarget &target, const std::string &path,
                               const AddOptions &options) const {
    const auto text = readLink({folder_, name_});
    if (!text)
        throw readError(path_, errno);
    const Data bytes{std::string_view(*text)};
    const auto provider = [&](std::int64_t, std::size_t) { return bytes.bytes(); };
    target.add(path, type(), static_cast<std::int64_t>(bytes.size()), modificationDate(),
               permissions(), provider, options);
}

} // namespace vellomir::archive
