#pragma once

#include <cstdint>
#include <string>

namespace vellomir {

/// Throws `fileWriteOutOfSpace` with the folder's path if its file system has less room than this.
/// The folder may be missing: its nearest existing parent counts. What the system does not tell is
/// taken as enough.
void requireFreeRoom(const std::string &folder, std::uint64_t bytes);

} // namespace vellomir
