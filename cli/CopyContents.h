#pragma once

#include "archive/Archive.h"

#include <set>
#include <string>

namespace vellomir::cli {

/// What a finished copy holds, by the names of its entries.
struct CopyContents {
    bool hasPayload = false;
    std::set<std::string> apps; ///< the names of the bundle folders in "Payload"
    bool hasPropertyList = false;

    /// Reads the directory of the copy.
    [[nodiscard]] static CopyContents of(const archive::Archive &copy);
};

} // namespace vellomir::cli
