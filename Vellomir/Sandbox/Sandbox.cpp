#include "Vellomir/Sandbox/Sandbox.h"

#include "files/Error.h"

#include <cerrno>
#include <filesystem>
#include <sys/stat.h>

namespace vellomir {
namespace {

namespace fs = std::filesystem;
using archive::URL;

/// Makes the last folder of the path for the owner only, unless it is there.
void makeSandboxFolder(const std::string &path) {
    if (::mkdir(path.c_str(), S_IRWXU) != 0 && errno != EEXIST)
        throw writeError(path, errno);
}

void requireRealFolder(const std::string &path) {
    struct stat status {};
    if (::lstat(path.c_str(), &status) != 0)
        throw readError(path, errno);
    if (!S_ISDIR(status.st_mode))
        throw Error(FileError::fileWriteFileExists,
                    {.path = path, .detail = "Something that is no folder is in the way"});
}

URL makeRoot(const URL &root, Sandbox::RootLinks links) {
    std::error_code error;
    fs::create_directories(fs::path(root.path()).parent_path(), error);
    if (error)
        throw writeError(root.path(), error.value());
    makeSandboxFolder(root.path());
    const bool keepsLinks = links == Sandbox::RootLinks::keep;
    const fs::path resolved =
        keepsLinks ? fs::path(root.path()) : fs::canonical(root.path(), error);
    if (error)
        throw readError(root.path(), error.value());
    requireRealFolder(resolved.string());
    return URL::folder(resolved.string());
}

URL makeFolder(const URL &root, const std::string &name) {
    URL folder = root.appendingPathComponent(name + '/');
    makeSandboxFolder(folder.path());
    requireRealFolder(folder.path());
    return folder;
}

} // namespace

Sandbox::Sandbox(const URL &root, const std::vector<std::string> &documentFolders,
                 RootLinks rootLinks)
    : root_(makeRoot(root, rootLinks)), temporaryFolder_(makeFolder(root_, "tmp")) {
    for (const std::string &name : documentFolders)
        documentFolders_.push_back(makeFolder(root_, name));
}

std::optional<URL> Sandbox::documentsFolder() const {
    return documentFolders_.empty() ? std::nullopt : std::optional(documentFolders_.front());
}

} // namespace vellomir
