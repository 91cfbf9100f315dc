#pragma once

#include "files/FileDescriptor.h"

#include <cstddef>
#include <memory>
#include <span>

namespace vellomir {

/// Bytes that stay mapped as long as a copy of this object, or of `start`, lives.
struct MappedMemory {
    std::shared_ptr<const std::byte> start;
    std::size_t size = 0;

    [[nodiscard]] std::span<const std::byte> bytes() const { return {start.get(), size}; }
};

/// An empty file in memory, without a name, which other programs don't inherit by accident. Throws
/// a `PictureFault` if there is none to be had.
[[nodiscard]] FileDescriptor makeSharedMemory();

/// Writes all bytes where the descriptor is. Throws a `PictureFault` if there is no room.
void writeAll(int descriptor, std::span<const std::byte> bytes);

/// Makes the file unchangeable, for everybody who has it open. Throws a `PictureFault` if somebody
/// can still write.
void seal(int descriptor);

/// Maps a whole file to read it. Its size must not shrink. Throws a `PictureFault` if there is no
/// memory.
[[nodiscard]] MappedMemory mapWhole(int descriptor);

} // namespace vellomir
