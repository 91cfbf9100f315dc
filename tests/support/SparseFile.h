#pragma once

#include "archive/Archive.h"

#include <filesystem>

namespace test {

/// A stream for writing a new file whose zero bytes take no room on disk, so that archives of many
/// GiB are made in seconds. Any reader can open the file afterwards.
[[nodiscard]] archive::Archive::FilePointer openSparseFile(const std::filesystem::path &path);

} // namespace test
