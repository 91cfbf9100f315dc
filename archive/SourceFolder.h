#pragma once

#include "archive/FileItem.h"
#include "archive/URL.h"
#include "files/FileDescriptor.h"

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace vellomir::archive {

/// A folder that is being packed. Its items are reached name by name from its descriptor, and never
/// through a link: nothing outside is read, even if somebody swaps a folder for a link meanwhile.
///
/// The folder of the last item stays open, so that items of one folder in a row cost one step each.
class SourceFolder {
public:
    /// Throws a `FileError` with the path if it is no folder, or a link to one.
    explicit SourceFolder(const URL &url);

    /// The same open folder for another thread, also if another one has its name meanwhile. Throws
    /// a read error.
    [[nodiscard]] SourceFolder forAnotherThread() const;

    /// The paths of all items below, as `subpaths` lists them.
    [[nodiscard]] std::vector<std::string> subpaths() const;
    /// The item at a path below the folder, without ".", ".." and empty components. Valid until the
    /// next call. Throws a `FileError` with the item's full path.
    [[nodiscard]] FileItem item(std::string_view path);

private:
    SourceFolder(std::string rootPath, FileDescriptor root)
        : rootPath_(std::move(rootPath)), root_(std::move(root)) {}
    int openParent(std::string_view parent);

    std::string rootPath_;
    FileDescriptor root_;
    /// The folder that the last item was in.
    std::string parentPath_;
    FileDescriptor parent_;
};

} // namespace vellomir::archive
