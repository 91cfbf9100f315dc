#include "Vellomir/Sandbox/SandboxFiles.h"

#include "Vellomir/Sandbox/SandboxPath.h"
#include "files/Error.h"
#include "files/FolderTree.h"
#include "files/WholeFile.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <unistd.h>
#include <utility>

namespace vellomir {
namespace {

using archive::URL;
using FinalLink = SandboxPath::FinalLink;

/// A link that has just come must not lead us away.
constexpr int writeFlags = O_WRONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC;
constexpr mode_t newFileMode = 0644; // whatever the umask says

/// An existing file is emptied and keeps its mode. Not open, and errno, if that failed.
FileDescriptor openForWriting(const SandboxPlace &place) {
    const int folder = place.folder.get();
    const char *name = place.name.c_str();
    FileDescriptor file(::openat(folder, name, writeFlags | O_CREAT | O_EXCL, newFileMode));
    if (!file.isOpen() && errno == EEXIST)
        return FileDescriptor(::openat(folder, name, writeFlags | O_TRUNC));
    if (file.isOpen())
        static_cast<void>(::fchmod(file.get(), newFileMode)); // some file systems have no modes
    return file;
}

void writeAll(int file, std::span<const std::byte> bytes, const std::string &path) {
    while (!bytes.empty()) {
        const ssize_t count = ::write(file, bytes.data(), bytes.size());
        if (count < 0 && errno != EINTR)
            throw writeError(path, errno);
        bytes = bytes.subspan(static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
    }
}

/// What a path leads to.
struct stat existingItem(const URL &root, const URL &url) {
    const SandboxPlace place = SandboxPath(root, url).resolve(FinalLink::follow);
    const auto status = place.status();
    if (!status)
        throw readError(url.path(), errno);
    return *status;
}

} // namespace

SandboxFiles::SandboxFiles(URL root, ListFolder list)
    : root_(std::move(root)), list_(std::move(list)) {}

void SandboxFiles::requireItem(const URL &url) const {
    static_cast<void>(existingItem(root_, url));
}

void SandboxFiles::requireFile(const URL &url) const {
    if (S_ISDIR(existingItem(root_, url).st_mode))
        throw readError(url.path(), EISDIR);
}

bool SandboxFiles::isFolder(const URL &url) const {
    const auto status = SandboxPath::item(root_, url).status();
    return status && S_ISDIR(status->st_mode);
}

URL SandboxFiles::withoutLinks(const URL &url) const {
    return URL::file(SandboxPath(root_, url).resolve(FinalLink::keep).path());
}

archive::Data SandboxFiles::read(const URL &url, std::size_t limit) const {
    const SandboxPlace place = SandboxPath(root_, url).resolve(FinalLink::follow);
    const FileDescriptor file(
        ::openat(place.folder.get(), place.name.c_str(), wholeFileFlags | O_NOFOLLOW));
    return archive::Data(readWholeFile(file, url.path(), limit));
}

void SandboxFiles::write(const URL &url, std::span<const std::byte> content) const {
    const SandboxPlace place = SandboxPath(root_, url).resolve(FinalLink::follow);
    FileDescriptor file = openForWriting(place);
    if (!file.isOpen())
        throw writeError(url.path(), errno);
    writeAll(file.get(), content, url.path());
    if (::close(file.release()) != 0 && errno != EINTR)
        throw writeError(url.path(), errno);
}

void SandboxFiles::createFolder(const URL &url) const {
    const SandboxPlace place =
        SandboxPath(root_, url).resolve(FinalLink::follow, SandboxPath::MissingFolders::make);
    const auto status = place.status();
    if (!status)
        throw writeError(url.path(), errno);
    if (!S_ISDIR(status->st_mode))
        throw writeError(url.path(), EEXIST);
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
