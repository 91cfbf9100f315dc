#include "files/FilePlace.h"

namespace vellomir {

FilePlace placeAt(const std::string &path) {
    return {.name = path, .path = path};
}

std::string folderOf(const std::string &path) {
    const std::size_t slash = path.rfind('/');
    if (slash == std::string::npos)
        return ".";
    return slash == 0 ? "/" : path.substr(0, slash);
}

std::string nameOf(const std::string &path) {
    return path.substr(path.rfind('/') + 1);
}

} // namespace vellomir
