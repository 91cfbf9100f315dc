#pragma once

#include <fcntl.h>
#include <string>

namespace vellomir {

/// A file by its name in an open folder. Unlike a path it stays in that folder, whatever is put in
/// the place of one of the folders above.
struct FilePlace {
    int folder = AT_FDCWD; ///< not owned; the current folder, whose names may be whole paths
    std::string name;      ///< a link of this name is followed in the current folder only
    std::string path;      ///< for messages
};

/// A whole path, or one relative to the current folder. A link at its end is followed.
[[nodiscard]] inline FilePlace placeAt(const std::string &path) {
    return {.name = path, .path = path};
}

} // namespace vellomir
