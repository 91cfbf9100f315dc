// The operations of SandboxFiles on whole trees.

#include "Vellomir/Sandbox/SandboxFiles.h"
#include "Vellomir/Sandbox/SandboxPath.h"
#include "files/Error.h"
#include "files/FolderTree.h"

#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

namespace vellomir {
namespace {

using archive::URL;

/// Somebody else may have been faster.
void unlink(const FolderTree &tree, const std::string &name, int flags) {
    if (::unlinkat(tree.folder(), name.c_str(), flags) != 0 && errno != ENOENT)
        throw writeError(tree.path(name), errno);
}

void removeItems(FolderTree tree) {
    for (auto event = tree.next(); event.step != FolderTree::Step::end; event = tree.next()) {
        if (event.step == FolderTree::Step::leftFolder)
            unlink(tree, event.item.name, AT_REMOVEDIR);
        else if (event.item.isFolder)
            tree.enter(event.item.name);
        else
            unlink(tree, event.item.name, 0);
    }
}

FolderTree openTree(const SandboxPlace &place, FolderAccess access, const ListFolder &list) {
    return {openFolder(place.folder.get(), place.name, place.path(), access), place.path(), access,
            list};
}

void enterIfPossible(FolderTree &tree, const std::string &name) {
    try {
        tree.enter(name);
    } catch (const Error &) {
        // Skipped, as the search promises.
    }
}

} // namespace

void SandboxFiles::remove(const URL &url) const {
    const SandboxPlace place = SandboxPath::item(root_, url);
    const auto status = place.status();
    if (!status)
        throw readError(url.path(), errno);
    const bool isFolder = S_ISDIR(status->st_mode);
    if (isFolder)
        removeItems(openTree(place, FolderAccess::remove, list_));
    if (::unlinkat(place.folder.get(), place.name.c_str(), isFolder ? AT_REMOVEDIR : 0) != 0)
        throw writeError(url.path(), errno);
}

void SandboxFiles::removeIfThere(const URL &url) const {
    try {
        remove(url);
    } catch (const Error &error) {
        if (error.systemError() != ENOENT && error.systemError() != ENOTDIR)
            throw;
    }
}

std::optional<URL> SandboxFiles::findFirst(const URL &folder,
                                           const std::function<bool(const URL &)> &test) const try {
    const SandboxPlace place = SandboxPath(root_, folder).resolve(SandboxPath::FinalLink::follow);
    FolderTree tree = openTree(place, FolderAccess::list, list_);
    const std::size_t start = tree.path("").size();
    for (auto event = tree.next(); event.step != FolderTree::Step::end; event = tree.next()) {
        if (event.step == FolderTree::Step::leftFolder)
            continue;
        std::string path = tree.path(event.item.name).substr(start);
        const URL item = folder.appendingPathComponent(event.item.isFolder ? path + '/' : path);
        if (test(item))
            return item;
        if (event.item.isFolder)
            enterIfPossible(tree, event.item.name);
    }
    return std::nullopt;
} catch (const Error &) {
    return std::nullopt; // Nothing can be found where nothing can be read.
}

} // namespace vellomir
