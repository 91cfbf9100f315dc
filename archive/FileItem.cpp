#include "archive/FileItem.h"

#include "archive/BufferSize.h"
#include "archive/EntryAppender.h"
#include "files/FileDescriptor.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <memory>

namespace vellomir::archive {
namespace {

/// Opens a file for reading; never waits, not even for a pipe that took its place.
FileDescriptor openFile(int folder, const std::string &name, const std::string &path) {
    FileDescriptor descriptor(
        ::openat(folder, name.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK));
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
    return FileDescriptor(::open(folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
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
        for (std::size_t filled = 0; filled < chunk.size();) {
            const ssize_t count =
                ::read(descriptor_.get(), chunk.data() + filled, chunk.size() - filled);
            if (count == 0)
                throw Error(Data::DataError::unreadableFile,
                            {.path = path_, .detail = "The file became shorter while it was read"});
            if (count > 0)
                filled += static_cast<std::size_t>(count);
            else if (errno != EINTR)
                throw Error(Data::DataError::unreadableFile, {.path = path_, .systemError = errno});
        }
        return chunk;
    }

private:
    const std::string &path_;
    const FileDescriptor &descriptor_;
    std::size_t capacity_;
    std::unique_ptr<std::byte[]> buffer_;
};

std::string readLink(int folder, const std::string &name, const std::string &path) {
    std::string target(256, '\0');
    for (;;) {
        const ssize_t length = ::readlinkat(folder, name.c_str(), target.data(), target.size());
        if (length < 0)
            throw readError(path, errno);
        const bool isWhole = static_cast<std::size_t>(length) < target.size();
        target.resize(isWhole ? static_cast<std::size_t>(length) : target.size() * 2);
        if (isWhole)
            return target;
    }
}

std::span<const std::byte> nothing(std::int64_t /*position*/, std::size_t /*size*/) {
    return {};
}

} // namespace

FileItem::FileItem(const URL &url) : folder_(AT_FDCWD), name_(url.path()), path_(name_) {
    if (!url.isFileURL())
        throw Error(FileError::fileReadNoSuchFile, {.path = path_});
    const std::string name = url.lastPathComponent();
    if (name.empty() || name == "." || name == "..") { // a folder, which is not read
        look();
        return;
    }
    name_ = name;
    const FileDescriptor opened = openFolderOf(path_);
    struct stat status {};
    if (!opened.isOpen() || ::fstat(opened.get(), &status) != 0)
        throwMissing();
    identity_ = {status.st_dev, status.st_ino};
    folder_ = opened.get();
    look();
    folder_ = AT_FDCWD;
}

FileItem::FileItem(int folder, std::string name, std::string path)
    : folder_(folder), name_(std::move(name)), path_(std::move(path)) {
    look();
}

void FileItem::look() {
    if (::fstatat(folder_, name_.c_str(), &status_, AT_SYMLINK_NOFOLLOW) != 0)
        throwMissing();
}

void FileItem::throwMissing() const {
    throw Error(FileError::fileReadNoSuchFile,
                {.path = path_, .systemError = errno == ENOENT ? 0 : errno});
}

Date FileItem::modificationDate() const {
    return {static_cast<double>(status_.st_mtim.tv_sec) +
            static_cast<double>(status_.st_mtim.tv_nsec) / 1e9};
}

std::int64_t FileItem::size() const {
    if (status_.st_size < 0)
        throw Error(FileError::fileReadTooLarge, {.path = path_});
    return status_.st_size;
}

void FileItem::add(EntryAppender &appender, std::string path, const AddOptions &options) const {
    if (!identity_)
        return addFromFolder(appender, std::move(path), options);
    const FileDescriptor folder = openFolderOf(path_);
    struct stat status {};
    if (!folder.isOpen() || ::fstat(folder.get(), &status) != 0)
        throw readError(path_, errno);
    if (status.st_dev != identity_->device || status.st_ino != identity_->number)
        throw Error(FileError::fileReadUnknown,
                    {.path = path_,
                     .detail = "Another folder has taken the place of the item's meanwhile"});
    FileItem item = *this;
    item.folder_ = folder.get();
    item.addFromFolder(appender, std::move(path), options);
}

void FileItem::addFromFolder(EntryAppender &appender, std::string path,
                             const AddOptions &options) const {
    requireBufferSize(options.bufferSize);
    switch (type()) {
    case Entry::EntryType::file:
        return addFile(appender, path, options);
    case Entry::EntryType::symlink:
        return addSymbolicLink(appender, path, options);
    case Entry::EntryType::directory:
        break;
    }
    if (::faccessat(folder_, name_.c_str(), R_OK, AT_EACCESS) != 0)
        throw readError(path_, errno);
    if (!path.ends_with('/'))
        path += '/';
    appender.add(path, type(), 0, modificationDate(), permissions(), nothing, options);
}

void FileItem::requireRegular() const {
    if (!S_ISREG(status_.st_mode))
        throw Error(FileError::fileReadUnknown,
                    {.path = path_, .detail = "The item is no file, no folder and no link"});
}

void FileItem::addFile(EntryAppender &appender, const std::string &path,
                       const AddOptions &options) const {
    requireRegular();
    const FileDescriptor descriptor = openFile(folder_, name_, path_);
    FileItem opened = *this; // with the size, mode and date of what was opened
    if (::fstat(descriptor.get(), &opened.status_) != 0)
        throw readError(path_, errno);
    opened.requireRegular();
    FileProvider provider(descriptor, path_, opened.size(), options.bufferSize);
    appender.add(path, type(), opened.size(), opened.modificationDate(), opened.permissions(),
                 std::ref(provider), options);
}

void FileItem::addSymbolicLink(EntryAppender &appender, const std::string &path,
                               const AddOptions &options) const {
    const Data target{std::string_view(readLink(folder_, name_, path_))};
    const auto provider = [&](std::int64_t, std::size_t) { return target.bytes(); };
    appender.add(path, type(), static_cast<std::int64_t>(target.size()), modificationDate(),
                 permissions(), provider, options);
}

} // namespace vellomir::archive
