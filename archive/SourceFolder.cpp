#include "archive/SourceFolder.h"

#include "archive/Error.h"
#include "archive/ItemListing.h"

#include <algorithm>
#include <cerrno>

namespace vellomir::archive {
namespace {

FileDescriptor openSource(const ItemName &name, const std::string &path) {
    FileDescriptor folder = openFolder(name, FolderUse::names);
    if (folder.isOpen())
        return folder;
    if (errno == ENOTDIR || errno == ELOOP)
        throw Error(FileError::fileReadUnknown,
                    {.path = path, .detail = "This is no longer a folder"});
    throw readError(path, errno);
}

} // namespace

SourceFolder::SourceFolder(const URL &url)
    : rootPath_(url.path()), root_(openSource(rootPath_, rootPath_)) {}

SourceFolder SourceFolder::forAnotherThread() const {
    FileDescriptor root = duplicate(root_.get());
    if (!root.isOpen())
        throw readError(rootPath_, errno);
    return {rootPath_, std::move(root)};
}

std::vector<std::string> SourceFolder::subpaths() const {
    return archive::subpaths(root_.get(), rootPath_);
}

FileItem SourceFolder::item(std::string_view path) {
    const std::size_t slash = path.rfind('/');
    const bool isNested = slash != std::string_view::npos;
    const int folder = openParent(isNested ? path.substr(0, slash) : std::string_view());
    return {folder, std::string(isNested ? path.substr(slash + 1) : path),
            rootPath_ + '/' + std::string(path)};
}

int SourceFolder::openParent(std::string_view parent) {
    if (parent.empty())
        return root_.get();
    if (parent == parentPath_)
        return parent_.get();
    // From the last folder on, if the new one is below it.
    const bool isBelow = !parentPath_.empty() && parent.starts_with(parentPath_) &&
                         parent[parentPath_.size()] == '/';
    std::size_t walked = isBelow ? parentPath_.size() + 1 : 0;
    FileDescriptor folder = isBelow ? std::move(parent_) : FileDescriptor();
    parentPath_.clear();
    while (walked < parent.size()) {
        const std::size_t end = std::min(parent.find('/', walked), parent.size());
        folder = openSource({folder.isOpen() ? folder.get() : root_.get(),
                             std::string(parent.substr(walked, end - walked))},
                            rootPath_ + '/' + std::string(parent.substr(0, end)));
        walked = end + 1;
    }
    parent_ = std::move(folder);
    parentPath_ = parent;
    return parent_.get();
}

} // namespace vellomir::archive
