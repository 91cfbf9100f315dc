#include "archive/TemporaryReplacementDirectory.h"

#include "archive/Error.h"
#include "files/FileContent.h"
#include "files/FileDescriptor.h"
#include "files/FolderChanges.h"
#include "files/ItemAttributes.h"

#include <cerrno>
#include <cstdlib>
#include <filesystem>

namespace vellomir::archive {
namespace {

namespace fs = std::filesystem;

/// The path of the file itself, behind all links.
std::string realPath(const URL &url) {
    std::error_code error;
    const fs::path path = fs::canonical(url.path(), error);
    return error ? url.path() : path.string();
}

/// The folder that the environment gives, or the system's own.
std::string temporaryFolder() {
    for (const char *variable : {"TMPDIR", "TMP", "TEMP", "TEMPDIR"})
        if (const char *path = std::getenv(variable))
            return path;
    return "/tmp";
}

/// Whether a file cannot get from one folder to the other by a rename.
bool areOnDifferentDisks(const std::string &one, const std::string &other) {
    const auto left = statusOf(one, Links::follow);
    const auto right = statusOf(other, Links::follow);
    return left && right && left->identity().device != right->identity().device;
}

/// The second choice. Where it is none, the error of the first one is what the user can act on.
WorkingFolder inTemporaryFolder(const std::string &firstChoice, const Error &reason) {
    const std::string folder = temporaryFolder();
    if (areOnDifferentDisks(firstChoice, folder))
        throw Error(reason);
    try {
        return WorkingFolder(folder);
    } catch (const Error &error) {
        throw Error(error.code(), {.path = folder,
                                   .detail = std::string(reason.what()) +
                                             "; and the temporary folder cannot be used instead",
                                   .systemError = error.systemError()});
    }
}

} // namespace

ArchivePlace::ArchivePlace(const URL &url)
    : path_(realPath(url)), folderPath_(fs::path(path_).parent_path().string()),
      folder_(openFolder(folderPath_, FolderUse::names, Links::follow)) {
    if (!folder_.isOpen())
        throw readError(folderPath_, errno);
}

FilePlace ArchivePlace::file() const {
    return {.folder = folder_.get(), .name = fs::path(path_).filename().string(), .path = path_};
}

WorkingFolder temporaryReplacementDirectory(const ArchivePlace &archive) {
    try {
        FileDescriptor folder = duplicate(archive.folder().get());
        if (!folder.isOpen())
            throw readError(archive.folderPath(), errno);
        return {std::move(folder), archive.folderPath()};
    } catch (const Error &error) {
        return inTemporaryFolder(archive.folderPath(), error);
    }
}

void replaceItem(const FilePlace &at, const URL &withItemAt) {
    const std::string newPath = withItemAt.path();
    const FileDescriptor file = openFile(newPath, Access::write, Links::refuse);
    if (!file.isOpen())
        throw writeError(newPath, errno);
    takeOverAttributes(file, requireStatus(at, Links::refuse, at.path), newPath);
    // The new bytes must be on the disk before the old ones can go.
    if (!storeOnDisk(file.get()))
        throw writeError(newPath, errno);
    if (!renameItem(newPath, at))
        throw writeError(at.path, errno);
}

} // namespace vellomir::archive
