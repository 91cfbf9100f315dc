#pragma once

#include "files/FileDescriptor.h"

#include <string>
#include <string_view>

namespace vellomir {

/// A hidden folder for an unfinished file, in the folder of its destination, so that one rename
/// puts it in place. Only its owner may look inside. It is removed with the object, with everything
/// in it.
///
/// A lock on a file in it shows that its process is alive. The next object in the same folder
/// removes the working folders of killed processes.
///
/// Another user may be able to replace the folder, or one above it. So use `accessPath` to reach
/// its content, and `parent` for the final name.
class WorkingFolder {
public:
    /// Removes the abandoned ones in an existing folder, then makes one there. Throws a `FileError`
    /// with that folder's path.
    explicit WorkingFolder(const std::string &parent);
    /// The same in an open folder; `path` is its path for messages.
    WorkingFolder(FileDescriptor parent, const std::string &path);
    WorkingFolder(WorkingFolder &&) = default;
    WorkingFolder &operator=(WorkingFolder &&) = delete;
    ~WorkingFolder();

    /// Where it was made: the path of the folder that it is in, and its name. For messages.
    [[nodiscard]] const std::string &path() const { return path_; }
    /// A path that leads to this folder even if it was moved or replaced, "/proc/self/fd/7": for
    /// this process only, and as long as the object lives. The same as `path` on a system without
    /// /proc.
    [[nodiscard]] const std::string &accessPath() const { return accessPath_; }
    /// The folder that it is in, open as long as the object lives. May be one for names only.
    [[nodiscard]] int parent() const { return parent_.get(); }
    /// The path for messages: for this folder and what is in it, the folder that it is in; any
    /// other path as it is.
    [[nodiscard]] std::string visiblePath(const std::string &path) const;
    /// Removes those in an existing folder whose processes have ended. Throws a `FileError` with
    /// that folder's path if it cannot be opened.
    static void removeAbandoned(const std::string &parent);
    /// Whether an item has such a name: ".vellomir-" and 16 hexadecimal digits.
    [[nodiscard]] static bool isName(std::string_view name);

private:
    enum class Outcome { made, lost };
    Outcome make();
    Outcome discard();

    std::string path_;
    std::string accessPath_;
    std::string name_;
    FileDescriptor parent_;
    FileDescriptor folder_;
    FileDescriptor lock_;
};

} // namespace vellomir
