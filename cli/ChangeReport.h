#pragma once

#include "cli/DeliveredFiles.h"

#include "files/PendingFile.h"

#include <optional>
#include <string>

namespace vellomir::cli {

/// The file of `duplicate --report`. It appears whole or not at all: it is written before the copy
/// is put in place, and gets its name afterwards.
class ChangeReport {
public:
    /// Throws `FileError::fileReadNoSuchFile` if there is no such folder, and `fileWriteFileExists`
    /// if the name is taken: by the package, by anything that is no regular file, or by a regular
    /// file that may not be replaced. `path` is the user's own text.
    ChangeReport(const std::string &path, const std::string &package, bool mayReplace);

    /// Whether the report is to have this name in this open folder.
    [[nodiscard]] bool isAt(int folder, const std::string &name) const;
    /// Both throw a write error with the user's path.
    void write(const std::string &json) const;
    void place(DeliveredFiles &delivered);

private:
    std::string path_;
    bool mayReplace_;
    PendingFile file_;
};

} // namespace vellomir::cli
