#include "Vellomir/Sandbox/Sandbox.h"

#include "files/Error.h"
#include "files/FileStatus.h"
#include "files/FolderChanges.h"

#include <filesystem>

namespace vellomir {
namespace {

namespace fs = std::filesystem;
using archive::URL;

void requireRealFolder(const std::string &path) {
    if (!requireStatus(path, Links::refuse, path).isFolder())
        throw Error(FileError::fileWriteFileExists,
                    {.path = path, .detail = "Something that is no folder is in the way"});
}

URL makeRoot(const URL &root, Sandbox::RootLinks links) {
    makeFolders(folderOf(root.path()), root.path());
    makePrivateFolder(root.path());
    std::error_code error;
    const bool keepsLinks = links == Sandbox::RootLinks::keep;
    const fs::path resolved =
        keepsLinks ? fs::path(root.path()) : fs::canonical(root.path(), error);
    if (error)
        throw readError(root.path(), error.value());
    requireRealFolder(resolved.string());
    return URL::folder(resolved.string());
}

URL makeFolderBelow(const URL &root, const std::string &name) {
    URL folder = root.appendingPathComponent(name + '/');
    makePrivateFolder(folder.path());
    requireRealFolder(folder.path());
    return folder;
}

} // namespace

Sandbox::Sandbox(const URL &root, const std::vector<std::string> &documentFolders,
                 RootLinks rootLinks)
    : root_(makeRoot(root, rootLinks)), temporaryFolder_(makeFolderBelow(root_, "tmp")) {
    for (const std::string &name : documentFolders)
        documentFolders_.push_back(makeFolderBelow(root_, name));
}

std::optional<URL> Sandbox::documentsFolder() const {
    return documentFolders_.empty() ? std::nullopt : std::optional(documentFolders_.front());
}

} // namespace vellomir
