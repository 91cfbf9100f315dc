#pragma once

#include "archive/URL.h"

#include <string>
#include <string_view>

namespace vellomir::archive {

/// Where below the destination folder an entry belongs: a relative path without ".", "..", empty
/// components and a "/" at its end; "" for the folder itself. An absolute path is taken as
/// relative. Works on the text only. Throws `fileReadInvalidFileName` if the path leads out of the
/// folder.
[[nodiscard]] std::string pathBelow(const URL &destination, std::string_view entryPath);

} // namespace vellomir::archive
