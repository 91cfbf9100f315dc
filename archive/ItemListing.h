#pragma once

#include "archive/URL.h"
#include "files/FolderItems.h"

#include <string>
#include <vector>

namespace vellomir::archive {

/// The paths of all items below a folder, relative to it: a folder before its content, otherwise in
/// the order of `sortForWalk`. Links are listed, not followed. Throws a `FileError` with the path
/// of a folder that cannot be read.
[[nodiscard]] std::vector<std::string> subpaths(const URL &folder,
                                                const ListFolder &list = folderItems);
/// The same of an open folder. All folders below are opened from its descriptor and never through a
/// link, so that nothing else is listed, whatever is put in their place meanwhile. `path` is its
/// path for errors.
[[nodiscard]] std::vector<std::string> subpaths(int folder, const std::string &path,
                                                const ListFolder &list = folderItems);

} // namespace vellomir::archive
