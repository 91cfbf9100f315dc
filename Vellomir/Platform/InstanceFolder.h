#pragma once

#include "archive/FileDescriptor.h"
#include "archive/URL.h"

namespace vellomir {

/// The folder of one running window, which no other one uses meanwhile: the first of "1", "2", …
/// below a data folder that nobody holds. It is held until this object goes or the program ends,
/// in whatever way, and is then the next one's, with what was left in it.
class InstanceFolder {
public:
    /// Makes the data folder and the folder in it when missing, for the owner only (0700). Throws a
    /// `FileError` with the path of what cannot be made or held.
    explicit InstanceFolder(const archive::URL &dataFolder);

    [[nodiscard]] const archive::URL &url() const { return url_; }

private:
    [[nodiscard]] bool take(const archive::URL &folder);

    archive::URL url_;
    archive::FileDescriptor lock_;
};

} // namespace vellomir
