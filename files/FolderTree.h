#pragma once

#include "files/FileDescriptor.h"
#include "files/FolderItems.h"

#include <string>
#include <string_view>
#include <sys/types.h>
#include <vector>

namespace vellomir {

/// What a folder is opened for: to list it, or to remove what it holds, for which missing rights
/// are granted to oneself if the folder is one's own.
enum class FolderAccess { list, remove };

/// Opens a folder that is no link. `path` stands in errors, which are `FileError`s.
[[nodiscard]] FileDescriptor openFolder(int parent, const std::string &name,
                                        const std::string &path, FolderAccess access);

/// Also of an item opened with O_PATH, which the system knows no call for. False if that failed.
bool changeMode(const FileDescriptor &item, mode_t mode);

/// Walks a tree from a folder downwards without following links, in the order of
/// `sortForWalk`, holding one descriptor whatever the depth. Errors are `FileError`s with
/// the path.
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
    /// Goes on with the items of a folder that was just found. If this throws, the walk goes on
    /// beside it.
    void enter(const std::string &name);

    /// The current folder.
    [[nodiscard]] int folder() const { return folder_.get(); }
    [[nodiscard]] std::string path(const std::string &name) const { return path_ + '/' + name; }

private:
    struct Identity {
        dev_t device;
        ino_t number;
        friend bool operator==(const Identity &, const Identity &) = default;
    };
    struct Level {
        std::vector<FolderItem> pending; ///< the next one last
        Identity identity;
    };
    [[nodiscard]] Level level(const FileDescriptor &folder, const std::string &path) const;
    [[nodiscard]] static Identity identity(const FileDescriptor &folder, const std::string &path);
    [[nodiscard]] Event leave();

    FileDescriptor folder_;
    std::string path_;
    FolderAccess access_;
    ListFolder list_;
    std::vector<Level> levels_; ///< from the top to the current folder
};

} // namespace vellomir
