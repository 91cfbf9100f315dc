#pragma once

#include <fcntl.h>
#include <string>

namespace vellomir {

/// Means the current folder, in place of a folder's descriptor (AT_FDCWD).
inline constexpr int currentFolder = AT_FDCWD;

/// Whether a link is followed if it is the last name of a path.
enum class Links { follow, refuse };

/// A file by its name in an open folder. Unlike a path it stays in that folder, even if another
/// program replaces one of the folders above.
struct FilePlace {
    int folder = currentFolder; ///< not owned; names in the current folder may be whole paths
    std::string name;           ///< a link of this name is followed in the current folder only
    std::string path;           ///< for messages

    [[nodiscard]] Links links() const {
        return folder == currentFolder ? Links::follow : Links::refuse;
    }
};

/// A whole path, or one relative to the current folder. A link at its end is followed.
[[nodiscard]] FilePlace placeAt(const std::string &path);

/// The argument of the functions that act on an item by its name: a path, or a name in an open
/// folder. Refers to the text that it was made from, so it is for one call only.
class ItemName {
public:
    ItemName(const std::string &path) : ItemName(currentFolder, path) {}
    ItemName(const FilePlace &place) : ItemName(place.folder, place.name) {}
    ItemName(int folder, const std::string &name) : folder_(folder), name_(name.c_str()) {}

    [[nodiscard]] int folder() const { return folder_; }
    [[nodiscard]] const char *name() const { return name_; }

private:
    int folder_;
    const char *name_;
};

/// The folder that a file is in: the path without its last name; "." if there is only one name.
[[nodiscard]] std::string folderOf(const std::string &path);

/// The name of a file in its folder: the last name of the path.
[[nodiscard]] std::string nameOf(const std::string &path);

} // namespace vellomir
