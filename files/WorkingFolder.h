#pragma once

#include "files/FileDescriptor.h"

#include <string>
#include <string_view>

namespace vellomir {

/// A hidden folder for a file on its way, in the folder that the file will go to: so one rename
/// puts it in place. Only its owner may look inside. It is removed with the object, with everything
/// in it.
///
/// A lock on a file in it shows that its owner lives. What a killed process left behind is removed
/// by the next object in the same folder.
///
/// Others may have the right to put something else in the place of the folder, or of one above it.
/// So what is in it is reached by `accessPath`, and the final name is given in `parent`.
class WorkingFolder {
public:
    /// Makes one inside an existing folder, after the abandoned ones there were removed. Throws a
    /// `FileError` with that folder's path.
    explicit WorkingFolder(const std::string &parent);
    /// The same in an open folder; `path` is its path for messages.
    WorkingFolder(FileDescriptor parent, const std::string &path);
    WorkingFolder(WorkingFolder &&) = default;
    WorkingFolder &operator=(WorkingFolder &&) = delete;
    ~WorkingFolder();

    /// Where it was made. Without a "/" at its end; begins with the path of the folder that it is
    /// in. For messages.
    [[nodiscard]] const std::string &path() const { return path_; }
    /// A path that leads to this folder whatever has taken its place, "/proc/self/fd/7": for this
    /// process only, and as long as the object lives. The same as `path` without such a /proc.
    [[nodiscard]] const std::string &accessPath() const { return accessPath_; }
    /// The folder that it is in, open as long as the object lives. May be one for names only.
    [[nodiscard]] int parent() const { return parent_.get(); }
    /// The text with `path` where it holds `accessPath`.
    [[nodiscard]] std::string withPath(std::string text) const;
    /// Removes those in an existing folder whose owners are gone. Throws a `FileError` with that
    /// folder's path if it cannot be opened.
    static void removeAbandoned(const std::string &parent);
    /// Whether an item has such a name: ".vellomir-" and 16 hexadecimal digits.
    [[nodiscard]] static bool isName(std::string_view name);

private:
    enum class Outcome { made, lost };
    Outcome make();
    Outcome discard();
    [[nodiscard]] bool isAt(const std::string &path) const;

    std::string path_;
    std::string accessPath_;
    std::string name_;
    FileDescriptor parent_;
    FileDescriptor folder_;
    FileDescriptor lock_;
};

} // namespace vellomir
