// SandboxFiles::move.

#include "Vellomir/Sandbox/SandboxFiles.h"
#include "Vellomir/Sandbox/SandboxPath.h"
#include "files/Error.h"
#include "files/FolderChanges.h"
#include "files/ItemAttributes.h"

#include <cerrno>

namespace vellomir {
namespace {

using archive::URL;

/// Gives the owner of a folder all rights to it, and takes them back in the end.
class TemporaryAccess {
public:
    explicit TemporaryAccess(const ItemName &folder)
        : folder_(openFolder(folder, FolderUse::names)) {
        const auto status = folder_.isOpen() ? statusOf(folder_.get()) : std::nullopt;
        if (status) {
            mode_ = status->mode();
            setPermissions(folder_, mode_ | S_IRWXU);
        }
    }
    ~TemporaryAccess() {
        const int systemError = errno; // of what was done with the access
        if (mode_ != 0)
            setPermissions(folder_, mode_);
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
    const TemporaryAccess toParent({from.folder.get(), "."});
    const TemporaryAccess toItem(from.itemName());
    return moveToNewName(from.itemName(), to.itemName());
}

} // namespace

void SandboxFiles::move(const URL &from, const URL &to) const {
    const SandboxPlace source = SandboxPath::item(root_, from);
    const SandboxPlace target = SandboxPath::item(root_, to);
    if (moveToNewName(source.itemName(), target.itemName()) ||
        ((errno == EACCES || errno == EPERM) && renameWithAccess(source, target)))
        return;
    const int systemError = errno;
    throw source.status() ? writeError(to.path(), systemError)
                          : readError(from.path(), systemError);
}

} // namespace vellomir
