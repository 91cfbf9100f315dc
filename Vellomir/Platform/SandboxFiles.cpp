#include "Vellomir/Platform/SandboxFiles.h"

#include "Vellomir/Platform/FolderTree.h"
#include "Vellomir/Platform/SandboxPath.h"
#include "archive/Error.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

namespace vellomir {
namespace {

using archive::FileDescriptor;
using archive::URL;
using FinalLink = SandboxPath::FinalLink;

/// A pipe that nobody writes must not keep us waiting, and a link that has just come must not lead
/// us away.
constexpr int fileFlags = O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC;
constexpr mode_t newFileMode = 0644;
constexpr std::size_t readChunkSize = 65536;

std::uint64_t sizeOfFile(int file, const std::string &path) {
    struct stat status {};
    if (::fstat(file, &status) != 0)
        throw archive::readError(path, errno);
    if (!S_ISREG(status.st_mode))
        throw archive::Error(archive::FileError::fileReadUnknown,
                             {.path = path, .detail = "This is no file"});
    return static_cast<std::uint64_t>(status.st_size);
}

/// Up to the end, however large the file was said to be.
archive::Data readAll(int file, std::uint64_t expectedSize, std::size_t limit,
                      const std::string &path) {
    std::vector<std::byte> bytes;
    std::size_t size = 0;
    while (size <= limit) {
        bytes.resize(std::max<std::size_t>(expectedSize + 1, size + readChunkSize));
        const ssize_t count = ::read(file, bytes.data() + size, bytes.size() - size);
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            throw archive::readError(path, errno);
        size += static_cast<std::size_t>(count);
        bytes.resize(size);
        if (count == 0)
            return archive::Data(std::move(bytes));
    }
    throw archive::Error(archive::FileError::fileReadTooLarge, {.path = path});
}

void writeAll(int file, std::span<const std::byte> bytes, const std::string &path) {
    while (!bytes.empty()) {
        const ssize_t count = ::write(file, bytes.data(), bytes.size());
        if (count < 0 && errno != EINTR)
            throw archive::writeError(path, errno);
        bytes = bytes.subspan(static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
    }
}

} // namespace

SandboxFiles::SandboxFiles(const URL &root) : root_(root) {}

void SandboxFiles::requireItem(const URL &url) const {
    const SandboxPlace place = SandboxPath(root_, url).resolve(FinalLink::follow);
    if (!place.status())
        throw archive::readError(url.path(), errno);
}

URL SandboxFiles::withoutLinks(const URL &url) const {
    return URL::file(SandboxPath(root_, url).resolve(FinalLink::keep).path());
}

archive::Data SandboxFiles::read(const URL &url, std::size_t limit) const {
    const SandboxPlace place = SandboxPath(root_, url).resolve(FinalLink::follow);
    const FileDescriptor file(
        ::openat(place.folder.get(), place.name.c_str(), O_RDONLY | fileFlags));
    if (!file.isOpen())
        throw archive::readError(url.path(), errno);
    const std::uint64_t size = sizeOfFile(file.get(), url.path());
    if (size > limit)
        throw archive::Error(archive::FileError::fileReadTooLarge, {.path = url.path()});
    return readAll(file.get(), size, limit, url.path());
}

void SandboxFiles::write(const URL &url, std::span<const std::byte> content) const {
    const SandboxPlace place = SandboxPath(root_, url).resolve(FinalLink::follow);
    FileDescriptor file(::openat(place.folder.get(), place.name.c_str(),
                                 O_WRONLY | O_CREAT | O_TRUNC | fileFlags, newFileMode));
    if (!file.isOpen())
        throw archive::writeError(url.path(), errno);
    writeAll(file.get(), content, url.path());
    if (::close(file.release()) != 0 && errno != EINTR)
        throw archive::writeError(url.path(), errno);
}

void SandboxFiles::createFolder(const URL &url) const {
    const SandboxPlace place =
        SandboxPath(root_, url).resolve(FinalLink::follow, SandboxPath::MissingFolders::make);
    const auto status = place.status();
    if (!status)
        throw archive::writeError(url.path(), errno);
    if (!S_ISDIR(status->st_mode))
        throw archive::writeError(url.path(), EEXIST);
}

std::vector<URL> SandboxFiles::children(const URL &folder) const {
    const SandboxPlace place = SandboxPath(root_, folder).resolve(FinalLink::follow);
    const FileDescriptor opened =
        openFolder(place.folder.get(), place.name, folder.path(), FolderAccess::list);
    std::vector<URL> children;
    for (const FolderItem &item : folderItems(opened.get(), folder.path()))
        children.push_back(
            folder.appendingPathComponent(item.isFolder ? item.name + '/' : item.name));
    return children;
}

} // namespace vellomir
