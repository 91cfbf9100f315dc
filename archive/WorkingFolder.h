#pragma once

#include "archive/FileDescriptor.h"

#include <string>
#include <string_view>

namespace archive {

/// A hidden folder for a file on its way, in the folder that the file will go to: so one rename
/// puts it in place. Only its owner may look inside. It is removed with the object, with everything
/// in it.
///
/// A lock on a file in it tells that its owner lives. What a killed process left behind is removed
/// by the next object in the same folder.
class WorkingFolder {
public:
    /// Makes one inside an existing folder, after the abandoned ones there were removed. Throws a
    /// `FileError` with that folder's path.
    explicit WorkingFolder(const std::string &parent);
    WorkingFolder(WorkingFolder &&) = default;
    WorkingFolder &operator=(WorkingFolder &&) = delete;
    ~WorkingFolder();

    /// Without a "/" at its end; begins with the path of the folder that it is in.
    [[nodiscard]] const std::string &path() const { return path_; }
    /// Whether an item has such a name: ".vellomir-" and 16 hexadecimal digits.
    [[nodiscard]] static bool isName(std::string_view name);

private:
    enum class Outcome { made, lost };
    Outcome make();
    Outcome discard();

    std::string path_;
    std::string name_;
    FileDescriptor parent_;
    FileDescriptor folder_;
    FileDescriptor lock_;
};

} // namespace archive
