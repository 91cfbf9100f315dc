#pragma once

#include "files/FileDescriptor.h"

#include <cstddef>
#include <cstdint>
#include <fcntl.h>
#include <functional>
#include <string>
#include <vector>

namespace vellomir {

/// For files that somebody else named: a pipe that nobody writes must not keep us waiting.
inline constexpr int wholeFileFlags = O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC;

/// The size in bytes of an open file. Throws a `FileError` with the path if the descriptor is none,
/// for the reason in errno, or if it is no regular file.
[[nodiscard]] std::uint64_t regularFileSize(const FileDescriptor &file, const std::string &path);

/// All bytes of a regular file. Throws like `regularFileSize`, and `FileError::fileReadTooLarge` if
/// there are more than `limit`. `beforeBlock` is called before each block of 16 MiB and may throw,
/// which ends the reading.
[[nodiscard]] std::vector<std::byte> readWholeFile(
    const FileDescriptor &file, const std::string &path, std::size_t limit,
    const std::function<void()> &beforeBlock = [] {});

} // namespace vellomir
