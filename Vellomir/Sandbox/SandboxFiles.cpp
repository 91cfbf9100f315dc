#include "Vellomir/Sandbox/SandboxFiles.h"

#include "Vellomir/Sandbox/SandboxPath.h"
#include "files/Error.h"
#include "files/FileContent.h"
#include "files/FolderChanges.h"
#include "files/FolderTree.h"
#include "files/ItemAttributes.h"

#include <cerrno>
#include <utility>

namespace vellomir {
namespace {

using archive::URL;
using FinalLink = SandboxPath::FinalLink;

constexpr mode_t newFileMode = 0644; // whatever the umask says

/// An existing file is emptied and keeps its mode. Not open, with errno, if that fails.
FileDescriptor openForWriting(const SandboxPlace &place) {
    FileDescriptor file = createFile(place.itemName(), Access::write, newFileMode);
    if (!file.isOpen() && errno == EEXIST)
        return createFile(place.itemName(), Access::write, newFileMode, IfThere::empty);
    if (file.isOpen())
        setPermissions(file, newFileMode); // some file systems have none
    return file;
}

/// A new file beside the place, under a name that is free. `path` is for errors.
SandboxPlace createBeside(const SandboxPlace &place, mode_t mode, const std::string &path,
                          FileDescriptor &file) {
    static constexpr int attempts = 1000;
    SandboxPlace fresh{.folder = {}, .name = {}, .folderPath = place.folderPath};
    fresh.folder = duplicate(place.folder.get());
    for (int attempt = 0; attempt < attempts; ++attempt) {
        fresh.name = ".vellomir-new-" + std::to_string(attempt);
        file = createFile(fresh.itemName(), Access::write, 0600);
        if (file.isOpen()) {
            setPermissions(file, mode); // some file systems have none
            return fresh;
        }
        if (errno != EEXIST)
            break;
    }
    throw writeError(path, errno);
}

/// What a path leads to.
FileStatus existingItem(const URL &root, const URL &url) {
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
    if (existingItem(root_, url).isFolder())
        throw readError(url.path(), EISDIR);
}

bool SandboxFiles::isFolder(const URL &url) const {
    const auto status = SandboxPath::item(root_, url).status();
    return status && status->isFolder();
}

URL SandboxFiles::withoutLinks(const URL &url) const {
    return URL::file(SandboxPath(root_, url).resolve(FinalLink::keep).path());
}

archive::Data SandboxFiles::read(const URL &url, std::size_t limit) const {
    const SandboxPlace place = SandboxPath(root_, url).resolve(FinalLink::follow);
    const FileDescriptor file = openFile(place.itemName(), Access::read, Links::refuse);
    return archive::Data(readWholeFile(file, url.path(), limit));
}

void SandboxFiles::write(const URL &url, std::span<const std::byte> content) const {
    const SandboxPlace place = SandboxPath(root_, url).resolve(FinalLink::follow);
    FileDescriptor file = openForWriting(place);
    if (!file.isOpen())
        throw writeError(url.path(), errno);
    writeAll(file.get(), content, url.path());
    if (!file.close())
        throw writeError(url.path(), errno);
}

std::optional<std::uint64_t> SandboxFiles::fileSize(const URL &url) const {
    try {
        const auto status = SandboxPath::item(root_, url).status();
        if (status && status->isRegularFile())
            return static_cast<std::uint64_t>(status->size());
    } catch (const Error &) {
        // There is no such file where no path leads.
    }
    return std::nullopt;
}

void SandboxFiles::replace(const URL &url, std::span<const std::byte> content) const {
    const SandboxPlace place = SandboxPath::item(root_, url);
    const auto status = place.status();
    if (!status || !status->isRegularFile())
        throw writeError(url.path(), status ? EEXIST : errno);
    FileDescriptor file;
    const SandboxPlace fresh = createBeside(place, status->permissions(), url.path(), file);
    try {
        writeAll(file.get(), content, url.path());
        if (!file.close() || !renameItem(fresh.itemName(), place.itemName()))
            throw writeError(url.path(), errno);
    } catch (...) {
        static_cast<void>(removeFile(fresh.itemName()));
        throw;
    }
}

void SandboxFiles::createFolder(const URL &url) const {
    const SandboxPlace place =
        SandboxPath(root_, url).resolve(FinalLink::follow, SandboxPath::MissingFolders::make);
    const auto status = place.status();
    if (!status)
        throw writeError(url.path(), errno);
    if (!status->isFolder())
        throw writeError(url.path(), EEXIST);
}

std::vector<URL> SandboxFiles::children(const URL &folder) const {
    const SandboxPlace place = SandboxPath(root_, folder).resolve(FinalLink::follow);
    const FileDescriptor opened = openForWalk(place.itemName(), folder.path(), FolderAccess::list);
    std::vector<URL> children;
    for (const FolderItem &item : folderItems(opened.get(), folder.path()))
        children.push_back(
            folder.appendingPathComponent(item.isFolder ? item.name + '/' : item.name));
    return children;
}

} // namespace vellomir
