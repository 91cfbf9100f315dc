// SandboxFiles::move.

#include "Vellomir/Sandbox/SandboxFiles.h"
#include "Vellomir/Sandbox/SandboxPath.h"
#include "files/Error.h"
#include "files/FolderTree.h"

#include <cerrno>
#include <cstdio>
#include <fcntl.h>

namespace vellomir {
namespace {

using archive::URL;

/// False, and errno, if that failed; also if an empty folder is at the new place.
bool rename(const SandboxPlace &from, const SandboxPlace &to) {
    const int source = from.folder.get();
    const int target = to.folder.get();
    if (::renameat2(source, from.name.c_str(), target, to.name.c_str(), RENAME_NOREPLACE) == 0)
        return true;
    if (errno != EINVAL && errno != ENOSYS)
        return false;
    // A file system that cannot do both in one step.
    if (to.status()) {
        errno = EEXIST;
        return false;
    }
    return ::renameat(source, from.name.c_str(), target, to.name.c_str()) == 0;
}

/// Grants oneself all rights to a folder of one's own, and takes them back in the end.
class TemporaryAccess {
public:
    TemporaryAccess(int parent, const std::string &name)
        : folder_(::openat(parent, name.c_str(), O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC)) {
        struct stat status {};
        if (folder_.isOpen() && ::fstat(folder_.get(), &status) == 0) {
            mode_ = status.st_mode;
            changeMode(folder_, mode_ | S_IRWXU);
        }
    }
    ~TemporaryAccess() {
        const int systemError = errno; // of what was done with the access
        if (mode_ != 0)
            changeMode(folder_, mode_);
        errno = systemError;
    }
    TemporaryAccess(const TemporaryAccess &) = delete;
    TemporaryAccess &operator=(const TemporaryAccess &) = delete;

private:
    FileDescriptor folder_;
    mode_t mode_ = 0; ///< 0 if there is nothing to take back
};

/// To take an item out of a folder needs the right to write there; to move a folder elsewhere needs
/// that right to the folder too, because its ".." changes.
bool renameWithAccess(const SandboxPlace &from, const SandboxPlace &to) {
    const TemporaryAccess toParent(from.folder.get(), ".");
    const TemporaryAccess toItem(from.folder.get(), from.name);
    return rename(from, to);
}

} // namespace

void SandboxFiles::move(const URL &from, const URL &to) const {
    const SandboxPlace source = SandboxPath::item(root_, from);
    const SandboxPlace target = SandboxPath::item(root_, to);
    if (rename(source, target) ||
        ((errno == EACCES || errno == EPERM) && renameWithAccess(source, target)))
        return;
    const int systemError = errno;
    throw source.status() ? writeError(to.path(), systemError)
                          : readError(from.path(), systemError);
}

} // namespace vellomir
