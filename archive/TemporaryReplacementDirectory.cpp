#include "archive/TemporaryReplacementDirectory.h"

#include "archive/Error.h"
#include "archive/FileDescriptor.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>

namespace archive {
namespace {

namespace fs = std::filesystem;

/// The path of the file itself, behind all links.
std::string realPath(const URL &url) {
    std::error_code error;
    const fs::path path = fs::canonical(url.path(), error);
    return error ? url.path() : path.string();
}

/// A new folder in this one, with a name that is unique; "" if none can be made.
std::string makeFolder(const fs::path &parent) {
    std::string name = (parent / ".vellomir-XXXXXX").string();
    return ::mkdtemp(name.data()) == nullptr ? std::string() : name;
}

/// Best effort for the owner, which only root may give away; the permissions must be right.
void takeOver(int file, const struct stat &old, const std::string &path) {
    if (::fchown(file, old.st_uid, old.st_gid) != 0 && ::fchown(file, uid_t(-1), old.st_gid) != 0)
        errno = 0;
    if (::fchmod(file, old.st_mode & 07777U) != 0)
        throw writeError(path, errno);
}

} // namespace

TemporaryReplacementDirectory::~TemporaryReplacementDirectory() {
    std::error_code ignored;
    if (!url_.path().empty())
        fs::remove_all(url_.path(), ignored);
}

TemporaryReplacementDirectory temporaryReplacementDirectory(const Archive &archive) {
    std::string path = makeFolder(fs::path(realPath(archive.url())).parent_path());
    if (path.empty())
        path = makeFolder(fs::temp_directory_path());
    if (path.empty())
        throw writeError(fs::temp_directory_path().string(), errno);
    return TemporaryReplacementDirectory(URL::folder(path));
}

void replaceItem(const URL &at, const URL &withItemAt) {
    const std::string oldPath = realPath(at);
    const std::string newPath = withItemAt.path();
    struct stat old {};
    const FileDescriptor file(::open(newPath.c_str(), O_WRONLY | O_CLOEXEC | O_NOFOLLOW));
    if (!file.isOpen())
        throw writeError(newPath, errno);
    if (::stat(oldPath.c_str(), &old) != 0)
        throw readError(oldPath, errno);
    takeOver(file.get(), old, newPath);
    // The new bytes must be on the disk before the old ones can go.
    if (::fsync(file.get()) != 0)
        throw writeError(newPath, errno);
    if (std::rename(newPath.c_str(), oldPath.c_str()) != 0)
        throw writeError(oldPath, errno);
}

} // namespace archive
