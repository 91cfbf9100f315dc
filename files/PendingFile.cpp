#include "files/PendingFile.h"

#include "files/Error.h"
#include "files/FileContent.h"
#include "files/FolderChanges.h"
#include "files/TargetFolder.h"

#include <cerrno>
#include <utility>

namespace vellomir {
namespace {

/// After this, a crash of the machine does not lose the bytes. 0, or errno.
int store(const std::string &path) {
    const FileDescriptor file = openFile(path, Access::read);
    return file.isOpen() && storeOnDisk(file.get()) ? 0 : errno;
}

/// 0, or errno.
int replace(const std::string &from, const FilePlace &to) {
    const int error = store(from);
    return error != 0 || renameItem(from, to) ? error : errno;
}

/// The folder of a new file.
std::string existingFolderOf(const std::string &path) {
    std::string folder = folderOf(path);
    requireFolder(folder);
    return folder;
}

} // namespace

void putInPlace(const std::string &from, const FilePlace &to, Existing existing) {
    int error = 0;
    if (existing == Existing::replace)
        error = replace(from, to);
    else if (!renameToNewName(from, to))
        error = errno;
    if (error != 0)
        throw writeError(to.path, error);
}

PendingFile::PendingFile(std::string destination)
    : destination_(std::move(destination)), folder_(existingFolderOf(destination_)),
      path_(folder_.accessPath() + "/file") {}

FilePlace PendingFile::destination() const {
    return {.folder = folder_.parent(), .name = nameOf(destination_), .path = destination_};
}

void PendingFile::place(Existing existing) {
    putInPlace(path_, destination(), existing);
    path_.clear();
}

Error PendingFile::underFinalName(const Error &error) const {
    ErrorContext context = error.context();
    context.path = context.path == path_ ? destination_ : folder_.visiblePath(context.path);
    return Error(error.code(), std::move(context));
}

} // namespace vellomir
