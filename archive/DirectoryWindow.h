#pragma once

#include "archive/Records.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <optional>
#include <span>

namespace vellomir::archive {

/// A view on a part of a stream that moves forward in large pieces, so that the records of a
/// directory, or local headers that are close to each other, cost a few reads in all. Others may
/// move the stream's position in between.
class DirectoryWindow {
public:
    /// `expectedSize` bytes are likely to be asked for in all; more are possible.
    DirectoryWindow(std::FILE *file, std::uint64_t expectedSize);

    /// Up to `size` bytes from the absolute offset, fewer at the end of the stream; valid until the
    /// next call. Throws `DataError::unreadableFile`.
    [[nodiscard]] std::span<const std::byte> bytes(std::uint64_t offset, std::size_t size);

    /// The directory's record at the absolute offset; nothing if the bytes there are none, or are
    /// cut off. Throws what `bytes` and `CentralDirectoryStructure::make` throw.
    [[nodiscard]] std::optional<CentralDirectoryStructure> record(std::uint64_t offset) {
        return read<CentralDirectoryStructure>(offset);
    }
    /// The same for a local header.
    [[nodiscard]] std::optional<LocalFileHeader> localHeader(std::uint64_t offset) {
        return read<LocalFileHeader>(offset);
    }

private:
    template <class Record>
    [[nodiscard]] std::optional<Record> read(std::uint64_t offset);
    void read(std::uint64_t offset, std::size_t size);

    std::FILE *file_;
    std::size_t capacity_;
    std::unique_ptr<std::byte[]> buffer_;
    std::span<const std::byte> window_;
    std::uint64_t start_ = 0;
};

} // namespace vellomir::archive
