#pragma once

#include "archive/URL.h"
#include "files/FileDescriptor.h"

#include <optional>
#include <string>

namespace vellomir {

/// The folder of one running window, which no other one uses meanwhile: the first of "1", "2", …
/// below a data folder that no process holds. It is held until this object goes or the program
/// ends, in whatever way, and is then the next one's, with what was left in it.
///
/// What a killed program left in any folder of the data folder, and in the folder where it was
/// saving a copy, is removed when the next object is made; the result that it had recorded stays.
class InstanceFolder {
public:
    /// Makes the data folder and the folder in it when missing, for the owner only (0700). Throws a
    /// `FileError` with the path of what cannot be made or held.
    explicit InstanceFolder(const archive::URL &dataFolder);
    InstanceFolder(const InstanceFolder &) = delete;
    InstanceFolder &operator=(const InstanceFolder &) = delete;
    /// Whatever is in the folder now stays.
    ~InstanceFolder();

    [[nodiscard]] const archive::URL &url() const { return url_; }
    /// Records which file in the folder is whole, and stays if the program is killed; none until
    /// then. Without effect where the disk is full.
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
