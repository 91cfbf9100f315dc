#pragma once

#include "files/FileDescriptor.h"
#include "files/FileStatus.h"
#include "files/FolderItems.h"

#include <string>
#include <vector>

namespace vellomir {

/// What a folder is walked for: to list it, or to remove its items. To remove them, missing
/// permissions are given to the owner of the folder, if this user is the owner.
enum class FolderAccess { list, remove };

/// Opens a folder that is no link, to list it. Throws a `FileError` with the path.
[[nodiscard]] FileDescriptor openForWalk(const ItemName &folder, const std::string &path,
                                         FolderAccess access);

/// Walks a tree from a folder downwards without following links, in the order of `sortForWalk`.
/// Holds one descriptor at any depth. Errors are `FileError`s with the path.
class FolderTree {
public:
    FolderTree(FileDescriptor folder, std::string path, FolderAccess access,
               ListFolder list = folderItems);

    enum class Step {
        foundItem,  ///< an item of the current folder; if it is a folder, `enter` may follow
        leftFolder, ///< all items of this one were found; the current folder is the one above
        end,
    };
    struct Event {
        Step step = Step::end;
        FolderItem item;
    };
    [[nodiscard]] Event next();
    /// Goes on with the items of a folder that was just found. If this throws, the walk skips the
    /// folder.
    void enter(const std::string &name);

    /// The current folder.
    [[nodiscard]] int folder() const { return folder_.get(); }
    [[nodiscard]] std::string path(const std::string &name) const { return path_ + '/' + name; }

private:
    struct Level {
        std::vector<FolderItem> pending; ///< the next one last
        ItemIdentity identity;
    };
    [[nodiscard]] Level level(const FileDescriptor &folder, const std::string &path) const;
    [[nodiscard]] Event leave();

    FileDescriptor folder_;
    std::string path_;
    FolderAccess access_;
    ListFolder list_;
    std::vector<Level> levels_; ///< from the top to the current folder
};

} // namespace vellomir
