#include "cli/Destination.h"

#include "files/FileStatus.h"

namespace vellomir::cli {
namespace {

bool isFolder(const std::string &path) {
    const auto status = statusOf(path, Links::follow);
    return status && status->isFolder();
}

bool exists(const FilePlace &place) {
    return statusOf(place, Links::refuse).has_value();
}

} // namespace

Destination Destination::find(const std::string &output, bool mayReplace) {
    if (isFolder(output))
        return {output, std::nullopt};
    const std::string folder = output.ends_with('/') ? output : folderOf(output);
    if (!isFolder(folder))
        throw Error(FileError::fileReadNoSuchFile,
                    {.path = folder, .detail = "There is no such folder"});
    requireFree(output, mayReplace);
    return {folder, output.substr(output.rfind('/') + 1)};
}

void requireFree(const std::string &path, bool mayReplace) {
    const FilePlace place{.name = path, .path = path};
    if (mayReplace)
        requireReplaceable(place);
    else if (exists(place))
        throw existsAlready(path);
}

void requireReplaceable(const FilePlace &place) {
    const auto status = statusOf(place, Links::follow);
    const bool isRegular = status && status->isRegularFile();
    if (!isRegular && exists(place))
        throw Error(
            FileError::fileWriteFileExists,
            {.path = place.path,
             .detail = "Something that is no regular file is in the way; --force does not replace "
                       "it"});
}

Error existsAlready(const std::string &path) {
    return Error(FileError::fileWriteFileExists,
                 {.path = path,
                  .detail = "The file exists already; --force replaces it, or choose another "
                            "name"});
}

std::string Destination::path(const std::string &ownName) const {
    const bool isHere = folder == ".";
    const std::string start = isHere ? "" : folder.ends_with('/') ? folder : folder + '/';
    return start + name.value_or(ownName);
}

} // namespace vellomir::cli
