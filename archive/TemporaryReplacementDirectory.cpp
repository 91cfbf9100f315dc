#include "archive/TemporaryReplacementDirectory.h"

#include "archive/Error.h"
#include "files/FileDescriptor.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>

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
    struct stat left {};
    struct stat right {};
    return ::stat(one.c_str(), &left) == 0 && ::stat(other.c_str(), &right) == 0 &&
           left.st_dev != right.st_dev;
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

/// Best effort for the owner, which only root may give away; the permissions must be right.
void takeOver(int file, const struct stat &old, const std::string &path) {
    if (::fchown(file, old.st_uid, old.st_gid) != 0 && ::fchown(file, uid_t(-1), old.st_gid) != 0)
        errno = 0;
    if (::fchmod(file, old.st_mode & 07777U) != 0)
        throw writeError(path, errno);
}

} // namespace

ArchivePlace::ArchivePlace(const URL &url)
    : path_(realPath(url)), folderPath_(fs::path(path_).parent_path().string()),
      folder_(::open(folderPath_.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC)) {
    if (!folder_.isOpen())
        throw readError(folderPath_, errno);
}

FilePlace ArchivePlace::file() const {
    return {.folder = folder_.get(), .name = fs::path(path_).filename().string(), .path = path_};
}

WorkingFolder temporaryReplacementDirectory(const ArchivePlace &archive) {
    try {
        FileDescriptor folder(::fcntl(archive.folder().get(), F_DUPFD_CLOEXEC, 0));
        if (!folder.isOpen())
            throw readError(archive.folderPath(), errno);
        return {std::move(folder), archive.folderPath()};
    } catch (const Error &error) {
        return inTemporaryFolder(archive.folderPath(), error);
    }
}

void replaceItem(const FilePlace &at, const URL &withItemAt) {
    const std::string newPath = withItemAt.path();
    struct stat old {};
    const FileDescriptor file(::open(newPath.c_str(), O_WRONLY | O_CLOEXEC | O_NOFOLLOW));
    if (!file.isOpen())
        throw writeError(newPath, errno);
    if (::fstatat(at.folder, at.name.c_str(), &old, AT_SYMLINK_NOFOLLOW) != 0)
        throw readError(at.path, errno);
    takeOver(file.get(), old, newPath);
    // The new bytes must be on the disk before the old ones can go.
    if (::fsync(file.get()) != 0)
        throw writeError(newPath, errno);
    if (::renameat(AT_FDCWD, newPath.c_str(), at.folder, at.name.c_str()) != 0)
        throw writeError(at.path, errno);
}

} // namespace vellomir::archive
