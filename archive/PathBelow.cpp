#include "archive/PathBelow.h"

#include "archive/Error.h"

namespace vellomir::archive {
namespace {

bool needsResolving(std::string_view path) {
    const auto has = [path](std::string_view text) { return path.find(text) != path.npos; };
    return has("//") || has("/./") || has("/../") || path.starts_with("./") ||
           path.starts_with("../") || path.ends_with("/.") || path.ends_with("/..") ||
           path == "." || path == "..";
}

/// The path of a folder's item without the folder and the "/" behind it.
std::string_view withoutFolder(std::string_view path, std::string_view folder) {
    path.remove_prefix(std::min(folder.size(), path.size()));
    if (path.starts_with('/'))
        path.remove_prefix(1); // the root folder has it already
    return path;
}

} // namespace

std::string pathBelow(const URL &destination, std::string_view entryPath) {
    while (entryPath.starts_with('/'))
        entryPath.remove_prefix(1);
    std::string resolved;
    if (needsResolving(entryPath)) {
        const URL target = destination.appendingPathComponent(entryPath);
        if (!target.isContained(destination))
            throw Error(FileError::fileReadInvalidFileName,
                        {.path = target.path(), .detail = "The name leads out of the folder"});
        resolved = target.standardized().path();
        entryPath = withoutFolder(resolved, destination.standardized().path());
    }
    while (entryPath.ends_with('/'))
        entryPath.remove_suffix(1);
    return std::string(entryPath);
}

} // namespace vellomir::archive
