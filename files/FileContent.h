#pragma once

#include "files/FileDescriptor.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace vellomir {

/// Reads from the position on until the buffer is full or the file ends. How many bytes were read;
/// none, with errno, if that fails.
[[nodiscard]] std::optional<std::size_t> readInto(int file, std::span<std::byte> buffer);

/// The same from an offset, without a use or a change of the position.
[[nodiscard]] std::optional<std::size_t> readAt(int file, std::uint64_t offset,
                                                std::span<std::byte> buffer);

/// Writes all bytes at the position, and waits where a pipe or a terminal takes no more. False,
/// with errno, if that fails. If `mayGoOn` is not null, it is called after each part but the last;
/// if it returns false, the writing ends with EINTR.
[[nodiscard]] bool writeFully(int file, std::span<const std::byte> bytes,
                              const std::function<bool()> &mayGoOn = nullptr);

/// The same; throws a write error with the path.
void writeAll(int file, std::span<const std::byte> bytes, const std::string &path);

/// The size in bytes of an open file. Throws a `FileError` with the path if the descriptor is not
/// open, for the reason in errno, or if it is no regular file.
[[nodiscard]] std::uint64_t regularFileSize(const FileDescriptor &file, const std::string &path);

/// All bytes of a regular file. Throws like `regularFileSize`, and `FileError::fileReadTooLarge` if
/// there are more than `limit`. `beforeBlock` is called before each block of 16 MiB and may throw,
/// which ends the reading.
[[nodiscard]] std::vector<std::byte> readWholeFile(
    const FileDescriptor &file, const std::string &path, std::size_t limit,
    const std::function<void()> &beforeBlock = [] {});

// False, with errno, if one of these fails.

/// Sets the size: cuts the file off, or appends zero bytes.
[[nodiscard]] bool setSize(int file, std::uint64_t size);
/// Moves the position to the start.
[[nodiscard]] bool rewindFile(int file);
/// Removes all bytes, and moves the position to the start.
[[nodiscard]] bool emptyFile(int file);
/// Returns when the bytes and the attributes are on the disk.
[[nodiscard]] bool storeOnDisk(int file);

/// A stream of the C library, which closes the descriptor with itself; `mode` as `fopen` has it.
/// Null, with errno, if that fails; the descriptor is closed then too.
[[nodiscard]] std::FILE *openStream(FileDescriptor file, const char *mode);

} // namespace vellomir
