// The operations of SandboxFiles on whole trees.

#include "Vellomir/Sandbox/SandboxFiles.h"
#include "Vellomir/Sandbox/SandboxPath.h"
#include "files/Error.h"
#include "files/FolderChanges.h"
#include "files/FolderTree.h"

#include <cerrno>

namespace vellomir {
namespace {

using archive::URL;

bool removeEmpty(const ItemName &name, bool isFolder) {
    return isFolder ? removeFolder(name) : removeFile(name);
}

/// Succeeds if another program has removed the item meanwhile.
void removeItem(const FolderTree &tree, const std::string &name, bool isFolder) {
    if (!removeEmpty({tree.folder(), name}, isFolder) && errno != ENOENT)
        throw writeError(tree.path(name), errno);
}

void removeItems(FolderTree tree) {
    for (auto event = tree.next(); event.step != FolderTree::Step::end; event = tree.next()) {
        if (event.step == FolderTree::Step::leftFolder)
            removeItem(tree, event.item.name, true);
        else if (event.item.isFolder)
            tree.enter(event.item.name);
        else
            removeItem(tree, event.item.name, false);
    }
}

FolderTree openTree(const SandboxPlace &place, FolderAccess access, const ListFolder &list) {
    return {openForWalk(place.itemName(), place.path(), access), place.path(), access, list};
}

void enterIfPossible(FolderTree &tree, const std::string &name) {
    try {
        tree.enter(name);
    } catch (const Error &) {
        // Skipped, as the search promises.
    }
}

std::optional<URL> findIn(FolderTree tree, const URL &folder,
                          const std::function<bool(const URL &)> &test) {
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
}

} // namespace

void SandboxFiles::remove(const URL &url) const {
    const SandboxPlace place = SandboxPath::item(root_, url);
    const auto status = place.status();
    if (!status)
        throw readError(url.path(), errno);
    const bool isFolder = status->isFolder();
    if (isFolder)
        removeItems(openTree(place, FolderAccess::remove, list_));
    if (!removeEmpty(place.itemName(), isFolder))
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
                                           const std::function<bool(const URL &)> &test) const {
    try {
        const SandboxPlace place =
            SandboxPath(root_, folder).resolve(SandboxPath::FinalLink::follow);
        return findIn(openTree(place, FolderAccess::list, list_), folder, test);
    } catch (const Error &) {
        return std::nullopt; // nothing can be found where nothing can be read
    }
}

} // namespace vellomir
