#include "files/PendingFile.h"

#include "files/Error.h"

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace vellomir {
namespace {

/// The same in two steps, for file systems that cannot do it in one: the new name fails if it is
/// taken, and stands for the whole file at once.
int linkAndUnlink(const std::string &from, const FilePlace &to) {
    if (::linkat(AT_FDCWD, from.c_str(), to.folder, to.name.c_str(), 0) != 0)
        return errno;
    ::unlink(from.c_str());
    return 0;
}

int renameToNewName(const std::string &from, const FilePlace &to) {
    if (::renameat2(AT_FDCWD, from.c_str(), to.folder, to.name.c_str(), RENAME_NOREPLACE) == 0)
        return 0;
    return errno == EINVAL || errno == ENOSYS ? linkAndUnlink(from, to) : errno;
}

/// Bytes that are still in memory when the machine stops must not have replaced others.
int store(const std::string &path) {
    const int file = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    const int error = file < 0 || ::fdatasync(file) != 0 ? errno : 0;
    if (file >= 0)
        ::close(file);
    return error;
}

int replace(const std::string &from, const FilePlace &to) {
    const int error = store(from);
    return error != 0 || ::renameat(AT_FDCWD, from.c_str(), to.folder, to.name.c_str()) == 0
               ? error
               : errno;
}

/// The folder that a new file shall go into.
const std::string &requireFolder(const std::string &folder) {
    struct stat status {};
    if (::stat(folder.c_str(), &status) != 0 && (errno == ENOENT || errno == ENOTDIR))
        throw Error(FileError::fileReadNoSuchFile,
                    {.path = folder, .detail = "There is no such folder"});
    if (status.st_mode != 0 && !S_ISDIR(status.st_mode))
        throw Error(FileError::fileReadNoSuchFile, {.path = folder, .detail = "This is no folder"});
    return folder;
}

} // namespace

void putInPlace(const std::string &from, const FilePlace &to, Existing existing) {
    const int error = existing == Existing::replace ? replace(from, to) : renameToNewName(from, to);
    if (error != 0)
        throw writeError(to.path, error);
}

std::string folderOf(const std::string &path) {
    const std::size_t slash = path.rfind('/');
    if (slash == std::string::npos)
        return ".";
    return slash == 0 ? "/" : path.substr(0, slash);
}

std::string nameOf(const std::string &path) {
    return path.substr(path.rfind('/') + 1);
}

void requireFolderTakesFiles(const std::string &folder) {
    if (::faccessat(AT_FDCWD, folder.c_str(), W_OK | X_OK, AT_EACCESS) != 0)
        throw writeError(folder, errno);
}

PendingFile::PendingFile(std::string destination)
    : destination_(std::move(destination)), folder_(requireFolder(folderOf(destination_))),
      path_(folder_.accessPath() + "/file") {}

FilePlace PendingFile::destination() const {
    return {.folder = folder_.parent(), .name = nameOf(destination_), .path = destination_};
}

void PendingFile::place(Existing existing) {
    putInPlace(path_, destination(), existing);
    path_.clear();
}

std::string PendingFile::underFinalName(std::string text) const {
    const std::size_t found = path_.empty() ? std::string::npos : text.find(path_);
    if (found != std::string::npos)
        text.replace(found, path_.size(), destination_);
    return folder_.withPath(std::move(text));
}

} // namespace vellomir
