#pragma once

#include "archive/Archive.h"

#include <filesystem>

namespace vellomir::test {

/// Opens a new file for writing whose zero bytes take no disk space, so that archives of many GiB
/// are made in seconds. Other programs can read the file afterwards.
[[nodiscard]] archive::Archive::FilePointer openSparseFile(const std::filesystem::path &path);

} // namespace vellomir::test
