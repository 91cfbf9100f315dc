#include "files/FolderChanges.h"

#include "files/Error.h"
#include "files/FileStatus.h"

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>
#include <unistd.h>

namespace vellomir {
namespace {

enum class ExclusiveRenaming { done, failed, unsupported };

ExclusiveRenaming renameUnlessTaken(const ItemName &from, const ItemName &to) {
    if (::renameat2(from.folder(), from.name(), to.folder(), to.name(), RENAME_NOREPLACE) == 0)
        return ExclusiveRenaming::done;
    return errno == EINVAL || errno == ENOSYS ? ExclusiveRenaming::unsupported
                                              : ExclusiveRenaming::failed;
}

} // namespace

bool makeFolder(const ItemName &folder, mode_t mode) {
    return ::mkdirat(folder.folder(), folder.name(), mode) == 0;
}

void makeFolders(const std::string &folder, const std::string &path) {
    std::error_code error;
    std::filesystem::create_directories(folder, error);
    if (error)
        throw writeError(path, error.value());
}

void makePrivateFolder(const std::string &path) {
    if (!makeFolder(path, S_IRWXU) && errno != EEXIST)
        throw writeError(path, errno);
}

bool makeLink(const std::string &target, const ItemName &link) {
    return ::symlinkat(target.c_str(), link.folder(), link.name()) == 0;
}

bool removeFile(const ItemName &file) {
    return ::unlinkat(file.folder(), file.name(), 0) == 0;
}

bool removeFolder(const ItemName &folder) {
    return ::unlinkat(folder.folder(), folder.name(), AT_REMOVEDIR) == 0;
}

bool renameItem(const ItemName &from, const ItemName &to) {
    return ::renameat(from.folder(), from.name(), to.folder(), to.name()) == 0;
}

bool renameToNewName(const ItemName &from, const ItemName &to) {
    const ExclusiveRenaming renaming = renameUnlessTaken(from, to);
    if (renaming != ExclusiveRenaming::unsupported)
        return renaming == ExclusiveRenaming::done;
    // A link fails if the name is taken, and shows the whole file at once.
    if (::linkat(from.folder(), from.name(), to.folder(), to.name(), 0) != 0)
        return false;
    static_cast<void>(removeFile(from)); // it has its new name, so this may fail
    return true;
}

bool moveToNewName(const ItemName &from, const ItemName &to) {
    const ExclusiveRenaming renaming = renameUnlessTaken(from, to);
    if (renaming != ExclusiveRenaming::unsupported)
        return renaming == ExclusiveRenaming::done;
    // Folders have no second names, so this takes two steps.
    if (statusOf(to, Links::refuse)) {
        errno = EEXIST;
        return false;
    }
    return renameItem(from, to);
}

} // namespace vellomir
