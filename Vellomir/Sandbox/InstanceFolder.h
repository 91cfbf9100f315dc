#pragma once

#include "archive/URL.h"
#include "files/FileDescriptor.h"

#include <optional>
#include <string>

namespace vellomir {

/// The folder of one running window: the first of "1", "2", … below a data folder that no other
/// process has locked. The lock is held until this object is destroyed or the program ends, also by
/// a kill. Then the next window gets the folder with the files in it.
///
/// A new object removes the files that killed programs left in any folder of the data folder, and
/// in the folders where they were saving copies. The results that they had recorded stay.
class InstanceFolder {
public:
    /// Makes the data folder and the folder in it where they are missing, for the owner only
    /// (0700). Throws a `FileError` with the path of the item that cannot be made or locked.
    explicit InstanceFolder(const archive::URL &dataFolder);
    InstanceFolder(const InstanceFolder &) = delete;
    InstanceFolder &operator=(const InstanceFolder &) = delete;
    /// The content of the folder stays.
    ~InstanceFolder();

    [[nodiscard]] const archive::URL &url() const { return url_; }
    /// Records which file in the folder is complete: it stays if the program is killed. None at
    /// first. Has no effect if the disk is full.
    void recordResult(const std::optional<archive::URL> &file);
    /// Records in which folder a copy is being saved: working folders there are removed after a
    /// kill. None: no copy is being saved.
    void recordSaving(const std::optional<std::string> &folder);

private:
    void writeRecord() const;
    [[nodiscard]] bool take(const archive::URL &folder);

    archive::URL url_;
    FileDescriptor lock_;
    std::string result_;       ///< empty if there is none
    std::string savingFolder_; ///< empty if there is none
};

} // namespace vellomir
