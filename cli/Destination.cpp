#include "cli/Destination.h"

#include "Vellomir/Platform/PendingFile.h"

#include <sys/stat.h>

namespace cli {
namespace {

bool isFolder(const std::string &path) {
    struct stat status {};
    return ::stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

bool exists(const archive::FilePlace &place) {
    struct stat status {};
    return ::fstatat(place.folder, place.name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0;
}

} // namespace

Destination Destination::find(const std::string &output, bool mayReplace) {
    if (isFolder(output))
        return {output, std::nullopt};
    const std::string folder = output.ends_with('/') ? output : vellomir::folderOf(output);
    if (!isFolder(folder))
        throw archive::Error(archive::FileError::fileReadNoSuchFile,
                             {.path = folder, .detail = "There is no such folder"});
    const archive::FilePlace place{.name = output, .path = output};
    if (mayReplace)
        requireReplaceable(place);
    else if (exists(place))
        throw existsAlready(output);
    return {folder, output.substr(output.rfind('/') + 1)};
}

void requireReplaceable(const archive::FilePlace &place) {
    struct stat status {};
    const bool isRegular =
        ::fstatat(place.folder, place.name.c_str(), &status, 0) == 0 && S_ISREG(status.st_mode);
    if (!isRegular && exists(place))
        throw archive::Error(
            archive::FileError::fileWriteFileExists,
            {.path = place.path,
             .detail = "Something that is no regular file is in the way; --force does not replace "
                       "it"});
}

archive::Error existsAlready(const std::string &path) {
    return archive::Error(
        archive::FileError::fileWriteFileExists,
        {.path = path, .detail = "The file exists already, and only --force replaces it"});
}

std::string Destination::path(const std::string &ownName) const {
    const bool isHere = folder == ".";
    const std::string start = isHere ? "" : folder.ends_with('/') ? folder : folder + '/';
    return start + name.value_or(ownName);
}

} // namespace cli
